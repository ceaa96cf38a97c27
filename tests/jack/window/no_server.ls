-- No JACK server: Init says the MIDI client cannot be made, however often it is tried (the driver
-- checks that standard error says why, once), and ports stay closed.
midi = new(xtra "Tonvik")
put midi.Init()
put midi.Init()
put midi.GetInputPorts()
put midi.OpenInput(1, 4096)
midi = 0
