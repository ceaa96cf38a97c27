-- What reaches a destination of the virtual MIDI system is kept for virtualMidiReceived, at most
-- 10 000 packets; virtualMidiDropped counts the rest, and reading it starts the count again.
midi = new(xtra "Tonvik")
midi.Init()
midi.OpenOutput(1)
repeat with i = 1 to 10003
  midi.SendMessage([#clock])
end repeat
put virtualMidiDropped("Virtual Bus"), virtualMidiDropped("Virtual Bus")
received = virtualMidiReceived("Virtual Bus")
put count(received), received[1], received[10000]
midi.SendMessage([#start])
put virtualMidiReceived("Virtual Bus"), virtualMidiDropped("Virtual Bus")
midi = 0
