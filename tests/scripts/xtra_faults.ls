-- Failures of the MIDI system and of the host's memory reach the script as error codes, and
-- leave nothing behind. The ports made with the instance take the client first, so client
-- creation must fail from the start for Init to see it.
virtualMidiFail(#clientCreate, 3)
midi = new(xtra "Tonvik")
put midi.Init()
put midi.OpenInput(1, 1024)
put midi.GetInputPorts()
put midi.Init()
put midi.GetInputPorts()

hostFailAllocations(1)
put midi.OpenInput(1, 1024)
virtualMidiFail(#connectSource, 1)
put midi.OpenInput(1, 1024)
put midi.OpenInput(1, 1024)

put midi.OpenOutput(1)
hostFailAllocations(1)
put midi.SendMessage([#systemExclusive, 125, [1, 2]])
virtualMidiFail(#sendSysex, 1)
put midi.SendMessage([#systemExclusive, 125, [1, 2]])
virtualMidiFail(#send, 1)
put midi.SendMessage([#noteOn, 1, 60, 100])
put midi.SendMessage([#noteOn, 1, 61, 100])
wait(20)
put count(midi.GetPendingMessages())
put midi.CloseOutput(), midi.OpenOutput(1)
put midi.SendMessage([#noteOn, 1, 62, 100])
wait(20)
put count(midi.GetPendingMessages())
put hostLiveValues()
midi = 0
put hostLiveValues()
