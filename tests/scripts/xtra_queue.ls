-- The input queue on its smallest ring (1024 bytes): what it keeps when full, what the overflow
-- flag says, and what flushing, closing and reopening do. Status bytes in decimal: 144 note-on,
-- 248 clock, 240 and 247 begin and end a system-exclusive message.
on packets n, bytes
  list = []
  repeat with i = 1 to n
    append(list, bytes)
  end repeat
  return list
end

on sysex size
  bytes = [240]
  repeat with i = 1 to size - 2
    append(bytes, 17)
  end repeat
  append(bytes, 247)
  return bytes
end

on types midi
  list = []
  repeat with message in midi.GetPendingMessages()
    append(list, message.type)
  end repeat
  return list
end

midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 1024)

-- A full ring keeps 146 notes and flags the rest once; a message the filters would drop still
-- overflows a full ring, a system-exclusive one too.
notes = []
repeat with i = 0 to 146
  append(notes, [144, i mod 100, 1])
end repeat
virtualMidiSend("Virtual Bus", notes)
put midi.InputOverflowed(), midi.InputOverflowed()
midi.SetSystemFilter(#none)
virtualMidiSend("Virtual Bus", [[248]])
put midi.InputOverflowed()
virtualMidiSend("Virtual Bus", [[240, 125, 1, 247]])
put midi.InputOverflowed()
kept = midi.GetPendingMessages()
put count(kept), kept[1].number, kept[146].number
put midi.GetNextMessage()
midi.SetSystemFilter(#all)

-- Flushing empties the ring and clears the flag; a closed input hides what is queued, and
-- reopening empties it.
virtualMidiSend("Virtual Bus", packets(147, [248]))
midi.FlushInput()
put midi.MessagesPending(), midi.InputOverflowed()
virtualMidiSend("Virtual Bus", packets(100, [248]))
put midi.CloseInput(), midi.MessagesPending()
put midi.GetNextMessage(), midi.GetPendingMessages()
put midi.OpenInput(1, 1024), midi.MessagesPending(), midi.InputOverflowed()

-- Status bytes that begin no message the Xtra keeps, and controller 122 (local control) with a
-- value other than 0 or 127, are dropped without a flag.
virtualMidiSend("Virtual Bus", [[244, 1, 2], [245, 1, 2], [247, 1, 2], [249, 1, 2], ¬
  [253, 1, 2], [64, 1, 2], [176, 122, 64]])
put midi.MessagesPending(), midi.InputOverflowed()

-- A system-exclusive message that does not fit is dropped whole: an empty ring takes 1019 bytes
-- (with the four of its timestamp, 1023), not 1020; the later chunks of a dropped message are
-- ignored, and the next message arrives.
virtualMidiSend("Virtual Bus", [sysex(1019)])
put midi.InputOverflowed(), types(midi)
virtualMidiSend("Virtual Bus", [sysex(1020)])
put midi.InputOverflowed(), midi.MessagesPending()
virtualMidiSend("Virtual Bus", [sysex(5000)])
put midi.InputOverflowed(), midi.MessagesPending()
start = sysex(1001)
deleteAt(start, 1001)
virtualMidiSend("Virtual Bus", [start])
virtualMidiSend("Virtual Bus", [packets(20, 34)])
put midi.InputOverflowed()
virtualMidiSend("Virtual Bus", [[34, 247], [252]])
put midi.InputOverflowed(), types(midi)

-- Short messages that arrive during a system-exclusive message wait for its end, 64 at most.
-- A 65th gives the message up as broken: the waiting messages arrive without a flag, and the
-- message's last chunk finds nothing to end.
virtualMidiSend("Virtual Bus", [[240, 125]])
virtualMidiSend("Virtual Bus", packets(64, [248]))
virtualMidiSend("Virtual Bus", [[1, 247]])
put midi.InputOverflowed()
kept = midi.GetPendingMessages()
put count(kept), kept[1].type, kept[1].data, kept[65].type
virtualMidiSend("Virtual Bus", [[240, 125]])
virtualMidiSend("Virtual Bus", packets(66, [248]))
virtualMidiSend("Virtual Bus", [[1, 247]])
put midi.InputOverflowed()
kept = types(midi)
put count(kept), kept[1], kept[66]

-- A continuation without a start is ignored, an empty message dropped, and a new start abandons
-- the unfinished message: what was held meanwhile follows the abandoned message and precedes
-- the next, and survives a message abandoned for want of room.
virtualMidiSend("Virtual Bus", [[1, 247], [240, 247], [240, 125, 1], [254], [240, 126, 2, 247]])
put types(midi)
virtualMidiSend("Virtual Bus", [[240, 125], [252], packets(1100, 1)])
put midi.InputOverflowed(), types(midi)
put hostLiveValues()
midi = 0
