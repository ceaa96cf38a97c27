-- Prints every message that arrives on input port 1 for a few seconds.
-- Run it with: build/bin/tonvik examples/monitor.ls  (or --midi jack for real MIDI)

seconds = 5
midi = new(xtra "Tonvik")
put midi.Init()
put "Input ports:", midi.GetInputPorts()
result = midi.OpenInput(1, 65536)
if result.code <> 0 then
  put "Cannot open input 1:", result
else
  put "Listening for", seconds, "seconds"
  stopAt = the milliseconds + seconds * 1000
  repeat while the milliseconds < stopAt
    repeat with message in midi.GetPendingMessages()
      put message
    end repeat
    if midi.InputOverflowed() then put "(messages were lost: the queue was full)"
    wait(10)
  end repeat
  midi.CloseInput()
end if
midi = 0
