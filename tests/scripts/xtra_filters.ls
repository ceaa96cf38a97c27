-- Input filters decide what enters the queue; bad arguments give their error codes.
on sendMix midi
  midi.SendMessage([#noteOn, 1, 60, 100])
  midi.SendMessage([#noteOn, 3, 60, 100])
  midi.SendMessage([#controlChange, 1, 7, 1])
  midi.SendMessage([#allNotesOff, 1])
  midi.SendMessage([#clock])
  midi.SendMessage([#songSelect, 2])
  midi.SendMessage([#systemExclusive, 125, [1]])
  wait(20)
  types = []
  repeat with message in midi.GetPendingMessages()
    append(types, message.type)
  end repeat
  put types
end

midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 4096)
midi.OpenOutput(1)
sendMix(midi)
put midi.SetChannelFilter([#noteOn, #noteOff], [1, 2])
put midi.SetSystemFilter(#realTime)
sendMix(midi)
put midi.SetChannelFilter(#mode, 0)
put midi.SetSystemFilter([#songSelect, #foo])
sendMix(midi)
put midi.SetChannelFilter(#all, 0), midi.SetSystemFilter(#all)
sendMix(midi)
put midi.SetChannelFilter(#noteOn, 17)
put midi.SetChannelFilter(#noteOn, [0])
put midi.SetChannelFilter(#noteOn, "1")
put midi.SetChannelFilter(#clock, 1)
put midi.SetChannelFilter(5, 1)
put midi.SetSystemFilter(3)
put hostLiveValues()
midi = 0
