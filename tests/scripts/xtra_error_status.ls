-- An argument the message table declares as an integer must be one: otherwise the call fails
-- with the host's status, given in hexadecimal, and the method does not run.
midi = new(xtra "Tonvik")
put midi.Init()
midi.OpenInput("1", 1024)
