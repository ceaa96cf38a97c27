-- The message window on a JACK server: a sequencer plays in, the monitor hears what goes out, and
-- a second sequencer comes and goes. Lines "driver: ..." ask the test driver to act.
on waitFor instance, name, present
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    if (getPos(instance.GetInputPorts(), name) > 0) = present then return TRUE
    wait(20)
  end repeat
  return FALSE
end

on firstNote instance
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    message = instance.GetNextMessage()
    if listP(message) then
      if getaProp(message, #type) = #noteOn then return message
    end if
    wait(5)
  end repeat
  return VOID
end

midi = new(xtra "Tonvik")
put midi.Init()
put waitFor(midi, "seq", TRUE)
put getPos(midi.GetOutputPorts(), "midi-monitor") > 0
put midi.OpenInput(getPos(midi.GetInputPorts(), "seq"), 4096)
note = firstNote(midi)
put [note.channel, note.number, note.velocity]
put midi.OpenOutput(getPos(midi.GetOutputPorts(), "midi-monitor"))
put midi.SendMessage([#type: #noteOn, #channel: 2, #number: 61, #velocity: 100])
put midi.SendMessage([#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2, 3]])

put "driver: start seq2"
put waitFor(midi, "seq2", TRUE)
listed = new(xtra "Tonvik")
put listed.Init()
position = getPos(listed.GetInputPorts(), "seq2")
put "driver: stop seq2"
put waitFor(midi, "seq2", FALSE)
-- Opened from the list taken while it still ran: the port is gone.
put listed.OpenInput(position, 4096)
listed = 0
midi = 0
