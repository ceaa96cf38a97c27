-- Prints the MIDI that another JACK program plays into the Xtra, for five seconds.
-- Every other JACK client with MIDI ports is a device here: a client with one port is listed by
-- the client's name ("seq"), one with several as client and port ("synth out").
-- Try it with a JACK server running and a sequencer playing middle C twice a second:
--   jack_midiseq seq 24000 0 60 12000 &
--   build/bin/tonvik --midi jack examples/jack-monitor.ls
-- Another source can be watched by changing `wanted` below; the script lists them all.

wanted = "seq"
seconds = 5
midi = new(xtra "Tonvik")
put midi.Init()
ports = midi.GetInputPorts()
put "Input ports:", ports
chosen = 0
repeat with i = 1 to count(ports)
  if getAt(ports, i) = wanted then chosen = i
end repeat
if chosen = 0 then
  put "No input port named", wanted, "- is it running?"
else
  result = midi.OpenInput(chosen, 65536)
  if result.code <> 0 then
    put "Cannot open", wanted, result
  else
    put "Listening to", wanted, "for", seconds, "seconds"
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
end if
midi = 0
