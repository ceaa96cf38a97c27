-- MIDI thru between two JACK programs: what the sequencer plays goes on to the monitor.
--   jack_midiseq seq 24000 0 60 12000 &
--   jack_midi_dump &
--   build/bin/tonvik --midi jack examples/jack-thru.ls
-- jack_midi_dump then prints every note that passed through the Xtra.

source = "seq"
destination = "midi-monitor"
seconds = 5

on positionOf ports, name
  repeat with i = 1 to count(ports)
    if getAt(ports, i) = name then return i
  end repeat
  return 0
end

midi = new(xtra "Tonvik")
put midi.Init()
input = positionOf(midi.GetInputPorts(), source)
output = positionOf(midi.GetOutputPorts(), destination)
if input = 0 or output = 0 then
  put "Need both", source, "and", destination, "- start them first."
else
  put midi.OpenInput(input, 65536)
  put midi.OpenOutput(output)
  put "Passing", source, "on to", destination, "for", seconds, "seconds"
  passed = 0
  stopAt = the milliseconds + seconds * 1000
  repeat while the milliseconds < stopAt
    repeat with message in midi.GetPendingMessages()
      midi.SendMessage(message)
      passed = passed + 1
    end repeat
    wait(5)
  end repeat
  put "Passed", passed, "messages"
  midi.CloseOutput()
  midi.CloseInput()
end if
midi = 0
