-- Echo: a movie script that sends back on the output whatever arrives on the input.
-- On the virtual MIDI system it builds a small studio of its own, a "Keyboard" that plays into
-- the Xtra and a "Synth" that hears what the Xtra sends. The movie plays 4 frames a second; the
-- keyboard plays one message a frame, exitFrame sends back what arrived, and the movie stops
-- itself once the synth has heard the whole phrase (Ctrl-C stops it sooner).
-- Run it with: build/bin/tonvik examples/echo.ls

global gMidi, gPhrase, gPlayed, gHeard

on startMovie
  virtualMidiSetup([#devices: [ ¬
    [#name: "Keyboard", #entities: [[#name: "Keyboard", #sources: ["Keyboard"], #destinations: []]]], ¬
    [#name: "Synth", #entities: [[#name: "Synth", #sources: [], #destinations: ["Synth"]]]]]])
  gMidi = new(xtra "Tonvik")
  put gMidi.Init()
  put "In:", gMidi.GetInputPorts(), "Out:", gMidi.GetOutputPorts()
  put gMidi.OpenInput(1, 65536)
  put gMidi.OpenOutput(1)
  -- Status bytes in decimal: 144 note-on, 176 control change, 128 note-off.
  gPhrase = [[144, 60, 100], [144, 64, 100], [176, 64, 127], [128, 60, 0]]
  gPlayed = 0
  gHeard = 0
  puppetTempo 4
end

on enterFrame
  if gPlayed < count(gPhrase) then
    gPlayed = gPlayed + 1
    virtualMidiSend("Keyboard", [gPhrase[gPlayed]])
  end if
end

on exitFrame
  -- What the last frame sent back has reached the synth by now.
  heard = virtualMidiReceived("Synth")
  if count(heard) > 0 then put "The synth heard:", heard
  gHeard = gHeard + count(heard)
  if gHeard = count(gPhrase) then halt
  repeat with message in gMidi.GetPendingMessages()
    put "echo", message
    gMidi.SendMessage(message)
  end repeat
  go to the frame
end

on stopMovie
  gMidi.CloseInput()
  gMidi.CloseOutput()
  gMidi = 0
  put "Echoed", gHeard, "of", count(gPhrase), "messages"
end
