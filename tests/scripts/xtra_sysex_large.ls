-- A system-exclusive message of 64 KB on the wire goes out whole, and comes in whole from
-- packets of one kilobyte.
on receiveWhole midi, data
  tries = 0
  repeat while not midi.MessagesPending() and tries < 500
    wait(10)
    tries = tries + 1
  end repeat
  received = midi.GetNextMessage()
  put received.type, received.manufacturerID, count(received.data), received.data = data
  put midi.MessagesPending()
end

data = []
repeat with i = 0 to 65532
  append(data, (i * 7) mod 128)
end repeat
midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 262144)
midi.OpenOutput(1)
put midi.SendMessage([#systemExclusive, 125, data])
receiveWhole(midi, data)

packets = []
packet = [240, 125]
repeat with byte in data
  if count(packet) = 1024 then
    append(packets, packet)
    packet = []
  end if
  append(packet, byte)
end repeat
append(packet, 247)
append(packets, packet)
put count(packets)
virtualMidiSend("Virtual Bus", packets)
receiveWhole(midi, data)
put hostLiveValues()
midi = 0
