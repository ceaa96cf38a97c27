-- The JACK server stops while a script runs, then a new one starts: the script goes on, opens of
-- ports that went with the server fail, sends do nothing, Init gives 1000 while no server runs,
-- and Init finds the new server's ports once it runs.
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

-- The driver starts the server while the script runs on: Init is tried until it succeeds.
on initWhenServerRuns instance
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    if instance.Init().code = 0 then return TRUE
    wait(20)
  end repeat
  return FALSE
end

midi = new(xtra "Tonvik")
put midi.Init()
put waitFor(midi, "seq", TRUE)
put midi.OpenOutput(getPos(midi.GetOutputPorts(), "midi-monitor"))
position = getPos(midi.GetInputPorts(), "seq")
watcher = new(xtra "Tonvik")
put watcher.Init()
put "driver: stop server"
put waitFor(watcher, "seq", FALSE)
fresh = new(xtra "Tonvik")
put fresh.Init()
put fresh.GetInputPorts()
put watcher.Init()
put midi.OpenInput(position, 4096)
put midi.SendMessage([#type: #noteOn, #channel: 1, #number: 60, #velocity: 100])
put midi.SendMessage([#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2, 3]])
put midi.CloseOutput()
put "driver: start server"
put initWhenServerRuns(fresh)
put waitFor(fresh, "seq", TRUE)
put fresh.OpenInput(getPos(fresh.GetInputPorts(), "seq"), 4096)
put fresh.CloseInput()
-- The instance made before the server went away works again too: its input port, made again on
-- the new server, hears the sequencer.
put midi.Init()
put midi.OpenInput(getPos(midi.GetInputPorts(), "seq"), 4096)
note = firstNote(midi)
put [note.channel, note.number, note.velocity]
put midi.CloseInput()
fresh = 0
watcher = 0
midi = 0
