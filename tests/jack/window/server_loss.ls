-- The JACK server stops while a script runs, then a new one starts: the script goes on, opens of
-- ports that went with the server fail, sends do nothing, and a new Init finds the new server.
on waitFor instance, name, present
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    if (getPos(instance.GetInputPorts(), name) > 0) = present then return TRUE
    wait(20)
  end repeat
  return FALSE
end

midi = new(xtra "Tonvik")
put midi.Init()
put waitFor(midi, "seq", TRUE)
put midi.OpenOutput(getPos(midi.GetOutputPorts(), "midi-monitor"))
position = getPos(midi.GetInputPorts(), "seq")
put "driver: stop server"
watcher = new(xtra "Tonvik")
watcher.Init()
put waitFor(watcher, "seq", FALSE)
put midi.OpenInput(position, 4096)
put midi.SendMessage([#type: #noteOn, #channel: 1, #number: 60, #velocity: 100])
put midi.SendMessage([#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2, 3]])
put midi.CloseOutput()
put "driver: start server"
again = new(xtra "Tonvik")
put again.Init()
put waitFor(again, "seq", TRUE)
put again.OpenInput(getPos(again.GetInputPorts(), "seq"), 4096)
put again.CloseInput()
again = 0
watcher = 0
midi = 0
