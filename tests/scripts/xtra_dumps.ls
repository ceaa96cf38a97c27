-- System-exclusive messages of every length on the loopback bus arrive whole and once, and so
-- does the note sent right after each (before or after the dump: the dump's transfer runs on a
-- thread of its own). A broken dump costs only itself. Status bytes in decimal: 144 note-on,
-- 248 clock, 240 and 247 begin and end a system-exclusive message.
on dumpData size
  data = []
  repeat with i = 1 to size - 3
    append(data, i mod 128)
  end repeat
  return data
end

on notes n
  list = []
  repeat with i = 1 to n
    append(list, [144, i, 1])
  end repeat
  return list
end

-- How many messages arrived, how many of them are the dump with exactly its data, how many
-- note-ons, and whether anything overflowed.
on tally midi, data
  messages = midi.GetPendingMessages()
  whole = 0
  noteOns = 0
  repeat with message in messages
    if message.type = #systemExclusive then
      if message.data = data then whole = whole + 1
    else if message.type = #noteOn then
      noteOns = noteOns + 1
    end if
  end repeat
  return [count(messages), whole, noteOns, midi.InputOverflowed()]
end

midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 262144)
midi.OpenOutput(1)
repeat with size in [4, 255, 256, 257, 258, 511, 512, 513, 1024, 1025, 1026, 65537]
  data = dumpData(size)
  midi.SendMessage([#systemExclusive, 125, data])
  midi.SendMessage([#noteOn, 1, 60, 100])
  wait(1)
  put size, tally(midi, data)
end repeat

-- A dump that never ends: the 65th message that waits behind it gives it up, so all 100 notes
-- arrive and nothing is flagged.
virtualMidiSend("Virtual Bus", [[240, 125, 1, 2]])
virtualMidiSend("Virtual Bus", notes(100))
put tally(midi, [])
-- A few notes wait behind it until a message arrives more than half a second after its last
-- chunk; that one gives the dump up, and the notes arrive before it.
virtualMidiSend("Virtual Bus", [[240, 125, 1, 2]])
virtualMidiSend("Virtual Bus", notes(10))
put midi.MessagesPending()
wait(600)
virtualMidiSend("Virtual Bus", [[248]])
put tally(midi, [])

-- A closing F7 alone ends the dump, with nothing to end it is dropped.
virtualMidiSend("Virtual Bus", [[240, 125, 1, 2], [144, 60, 1], [247]])
virtualMidiSend("Virtual Bus", notes(100))
put tally(midi, [1, 2])
virtualMidiSend("Virtual Bus", [[247]])
virtualMidiSend("Virtual Bus", notes(100))
put tally(midi, [])
put hostLiveValues()
midi = 0
