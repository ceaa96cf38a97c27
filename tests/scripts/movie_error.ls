-- A script error in a frame handler stops play; stopMovie still runs, an error in it shows too,
-- and the exit status is 1.
global gMidi, gFrames

on startMovie
  gMidi = new(xtra "Tonvik")
  gMidi.Init()
  put gMidi.OpenInput(1, 1024)
  gFrames = 0
end

on exitFrame
  gFrames = gFrames + 1
  put "frame", gFrames
  if gFrames = 2 then put gMidi.NoSuchMethod()
end

on stopMovie
  put "stopMovie after", gFrames, "frames:", gMidi.CloseInput()
  closeEverything
end
