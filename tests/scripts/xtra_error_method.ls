-- Calling a method the Xtra does not have is a script error that names it.
midi = new(xtra "Tonvik")
put midi.Init()
OpenPort(midi, 1)
