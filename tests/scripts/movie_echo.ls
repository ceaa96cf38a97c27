-- A movie that echoes what a virtual keyboard plays back out to a virtual synth, a frame at a
-- time, and stops itself once the phrase is over. On the virtual system each frame first lets
-- the sends in flight arrive, so what was sent in one frame is there in the next.
global gMidi, gPhrase, gFrame

on startMovie
  virtualMidiSetup([#devices: [ ¬
    [#name: "Keyboard", #entities: [[#name: "Keyboard", #sources: ["Keyboard"], #destinations: []]]], ¬
    [#name: "Synth", #entities: [[#name: "Synth", #sources: [], #destinations: ["Synth"]]]]]])
  gMidi = new(xtra "Tonvik")
  gMidi.Init()
  put gMidi.OpenInput(1, 4096), gMidi.OpenOutput(1)
  gPhrase = [[144, 60, 100], [144, 64, 90], [128, 60, 0], [240, 125, 1, 2, 3, 247]]
  gFrame = 0
end

on enterFrame
  gFrame = gFrame + 1
  heard = virtualMidiReceived("Synth")
  if count(heard) > 0 then put "frame" && gFrame & ": the synth heard", heard
  if gFrame > count(gPhrase) then halt
  if gFrame <= count(gPhrase) then virtualMidiSend("Keyboard", [gPhrase[gFrame]])
end

on exitFrame
  repeat with message in gMidi.GetPendingMessages()
    deleteProp(message, #timestamp)
    put "frame" && gFrame & ": echo", message, gMidi.SendMessage(message).code
  end repeat
  go to the frame
end

on stopMovie
  put "stopMovie in frame", gFrame
  gMidi.CloseInput()
  gMidi.CloseOutput()
  gMidi = 0
  put "values left:", hostLiveValues()
end
