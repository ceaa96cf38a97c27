-- No JACK server: Init says the MIDI client cannot be made, and ports stay closed.
midi = new(xtra "Tonvik")
put midi.Init()
put midi.GetInputPorts()
put midi.OpenInput(1, 4096)
midi = 0
