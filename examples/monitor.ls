-- Monitor: prints every message that arrives on input port 1. A movie script, played the way
-- the host plays a movie of one frame: startMovie opens the input, every frame's exitFrame
-- prints what came in, and stopMovie closes it when you press Ctrl-C.
-- Run it with: build/bin/tonvik examples/monitor.ls  (or --midi jack for real MIDI;
-- --seconds 5 stops it by itself)
-- On the virtual MIDI system only a script plays into input 1; examples/echo.ls makes its own
-- traffic.

global gMidi

on startMovie
  gMidi = new(xtra "Tonvik")
  put gMidi.Init()
  put "Input ports:", gMidi.GetInputPorts()
  result = gMidi.OpenInput(1, 65536)
  if result.code <> 0 then
    put "Cannot open input 1:", result
    halt
  end if
  put "Listening; Ctrl-C stops"
end

on exitFrame
  repeat with message in gMidi.GetPendingMessages()
    put message
  end repeat
  if gMidi.InputOverflowed() then put "(messages were lost: the queue was full)"
  go to the frame
end

on stopMovie
  gMidi.CloseInput()
  gMidi = 0
  put "Stopped"
end
