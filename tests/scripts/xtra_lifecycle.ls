-- The instance before and after Init, the error results of opening and closing, and the
-- host's census: an instance holds its 40 symbol values and nothing else between calls.
put hostLiveValues()
midi = new(xtra "tonvik")
put midi
put hostLiveValues()
put midi.GetInputPorts(), midi.GetOutputPorts()
put midi.OpenInput(0, 100)
put midi.CloseOutput()
put midi.MessagesPending(), midi.InputOverflowed()
put midi.GetNextMessage(), midi.GetPendingMessages()
put midi.Init()
put GetInputPorts(midi)
put midi.OpenInput(0, 100)
put midi.OpenInput(2, 100)
-- A negative queue size reads as 2 GB or more, which the host cannot give.
put midi.OpenInput(1, -1)
put midi.OpenInput(1, 100)
put midi.OpenInput(1, 100)
put midi.CloseInput()
put midi.CloseInput()
put midi.OpenOutput(2)
-- Port numbers below 1 are invalid, the most negative too: turning it into an index once
-- overflowed (found by fuzz_call_values).
put midi.OpenOutput(0), midi.OpenInput(-1, 0)
put midi.OpenOutput(-2147483647 - 1), midi.OpenInput(-2147483647 - 1, 0)
put midi.OpenOutput(1)
put midi.OpenOutput(1)
put midi.CloseOutput()
put midi.CloseOutput()
put midi.SendMessage([#clock])
put midi.ResetTimer(), midi.FlushInput()
put midi.GetTime() < 1000
put hostLiveValues()
midi.OpenInput(1, 2048)
midi.OpenOutput(1)
-- An instance goes with its last reference, wherever that was held.
other = midi
holder = [midi]
midi = 0
other = VOID
put hostLiveValues()
holder = 0
put hostLiveValues()

on make
  local = new(xtra "Tonvik")
  return hostLiveValues()
end
put make(), hostLiveValues()
put new(xtra "Tonvik")
put hostLiveValues()
