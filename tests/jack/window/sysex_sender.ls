-- Two message windows on one JACK server. This one sends system-exclusive messages of 1 025 and
-- 20 000 bytes to jack_midi_dump and to a second window (sysex_receiver.ls), which checks that
-- each arrives whole and once. Lines "driver: ..." ask the test driver to act.
-- The second window's JACK client is "Tonvik Xtra-01", since this one's is "Tonvik Xtra".
on waitForOutput instance, name
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    if getPos(instance.GetOutputPorts(), name) > 0 then return TRUE
    wait(20)
  end repeat
  return FALSE
end

on waitForNote instance, number
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    message = instance.GetNextMessage()
    if listP(message) then
      if getaProp(message, #number) = number then return TRUE
    end if
    wait(5)
  end repeat
  return FALSE
end

-- F0, the manufacturer ID and F7 frame the data: a message of `total` bytes.
on dumpOf total
  data = []
  repeat with i = 1 to total - 3
    add(data, i mod 128)
  end repeat
  return [#type: #systemExclusive, #manufacturerID: 125, #data: data]
end

short = dumpOf(1025)
long = dumpOf(20000)
-- An instance of its own for the monitor: closing an output abandons its transfers in flight.
-- The message goes three times: JACK drops what a client too slow for its period misses.
monitor = new(xtra "Tonvik")
put monitor.Init()
put waitForOutput(monitor, "midi-monitor")
put monitor.OpenOutput(getPos(monitor.GetOutputPorts(), "midi-monitor"))
repeat with i = 1 to 3
  put monitor.SendMessage(short)
  wait(50)
end repeat

midi = new(xtra "Tonvik")
put midi.Init()
-- This instance's ports are "Fenwold Input 2" and "Fenwold Output 2": the monitor's came first.
put "driver: start window sysex_receiver"
put waitForOutput(midi, "Tonvik Xtra-01 Fenwold Input")
put midi.OpenInput(getPos(midi.GetInputPorts(), "Tonvik Xtra-01 Fenwold Output"), 4096)
put midi.OpenOutput(getPos(midi.GetOutputPorts(), "Tonvik Xtra-01 Fenwold Input"))
-- The receiver plays note 1 once it listens, and note 2 once it has checked both messages.
put waitForNote(midi, 1)
put midi.SendMessage(short)
put midi.SendMessage(long)
put waitForNote(midi, 2)
midi = 0
monitor = 0
