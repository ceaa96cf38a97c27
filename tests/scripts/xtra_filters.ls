-- Input filters decide what enters the queue; bad arguments give their error codes.
on types midi
  list = []
  repeat with message in midi.GetPendingMessages()
    append(list, message.type)
  end repeat
  return list
end

on sendMix midi
  midi.SendMessage([#noteOn, 1, 60, 100])
  midi.SendMessage([#noteOn, 3, 60, 100])
  midi.SendMessage([#controlChange, 1, 7, 1])
  midi.SendMessage([#allNotesOff, 1])
  midi.SendMessage([#clock])
  midi.SendMessage([#start])
  midi.SendMessage([#songSelect, 2])
  midi.SendMessage([#systemExclusive, 125, [1]])
  wait(20)
  put types(midi)
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

-- Bad channels change nothing: channel 1 keeps only its control changes.
put midi.SetChannelFilter(#controlChange, 1)
badChannels = [17, [0], [1, 17, 2], [1, "2"], ["2", 99], "1", [#a: 1], []]
repeat with channels in badChannels
  put midi.SetChannelFilter(#none, channels), channels
end repeat
sendMix(midi)

-- Bad types close the chosen channels and then open them to what the good symbols before the
-- bad argument named.
badTypes = [#clock, 5, [], [#noteOn, 3], [#foo, #noteOn, "x"], ["x", #noteOn, #foo], ¬
  [#type: #noteOn]]
repeat with types in badTypes
  midi.SetChannelFilter(#all, 0)
  put midi.SetChannelFilter(types, 1), types
  sendMix(midi)
end repeat
midi.SetChannelFilter(#all, 0)

-- The system filter closes every system message before it looks at its argument.
badTypes = [[#clock, #foo, #start], [#clock, 3], 3, #noteOn, [], #realTime]
repeat with types in badTypes
  midi.SetSystemFilter(#all)
  put midi.SetSystemFilter(types), types
  sendMix(midi)
end repeat
midi.SetSystemFilter(#all)

-- A filtered system-exclusive message claims no room, whatever its size: only its first chunk
-- meets the room test, as any message does. Messages filtered during an admitted one are not
-- held, so they cannot fill the hold-back.
midi.SetSystemFilter(#realTime)
big = [[240, 125]]
repeat with i = 1 to 5
  chunk = []
  repeat with j = 1 to 1000
    append(chunk, 51)
  end repeat
  append(big, chunk)
end repeat
append(big, [247])
virtualMidiSend("Virtual Bus", [[240, 125, 1], [2], [3, 247]])
virtualMidiSend("Virtual Bus", big)
virtualMidiSend("Virtual Bus", [[248]])
put midi.InputOverflowed(), types(midi)
midi.SetSystemFilter([#clock, #systemExclusive])
sensing = [[240, 125]]
repeat with i = 1 to 100
  append(sensing, [254])
end repeat
append(sensing, [248])
append(sensing, [1, 247])
virtualMidiSend("Virtual Bus", sensing)
put midi.InputOverflowed(), types(midi)
put hostLiveValues()
midi = 0
