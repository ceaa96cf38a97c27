-- A movie that keeps notes going round the loopback bus until it is stopped (by Ctrl-C or
-- SIGTERM in MovieSignalTest, after --frames 3 here). stopMovie closes the ports but leaves the
-- instance in its global, for the tool to release.
global gMidi, gFrames
on startMovie
  gMidi = new(xtra "Tonvik")
  gMidi.Init()
  gMidi.OpenInput(1, 4096)
  gMidi.OpenOutput(1)
  gFrames = 0
end
on exitFrame
  gFrames = gFrames + 1
  gMidi.SendMessage([#noteOn, 1, 60, 100])
  received = gMidi.GetPendingMessages()
  if gFrames = 3 then put "playing"
  go to the frame
end
on stopMovie
  put "stopMovie", gMidi.CloseInput().code, gMidi.CloseOutput().code
  put "values held:", hostLiveValues() > 0
end
