-- How the input port cuts packets into messages, as a script receives them: at every status
-- byte, with the length the bytes give; a packet that begins with 240 passes on whole as one
-- system-exclusive message, and one that begins with a data byte continues it. Each message is
-- stamped when it reaches the instance, so the stamps are set to 0 before printing.
on receive midi, packets
  virtualMidiSend("Virtual Bus", packets)
  messages = midi.GetPendingMessages()
  repeat with message in messages
    setAt(message, count(message), 0)
  end repeat
  put messages
end

midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 4096)
receive(midi, [[144, 60, 100, 128, 60, 0]])
-- Running status: the fourth and fifth bytes make the message too long, so none is kept.
receive(midi, [[144, 60, 100, 62, 100]])
receive(midi, [[144, 60]])
-- A real-time byte cuts the message before it.
receive(midi, [[144, 248, 64, 127]])
receive(midi, [[240, 65, 16, 247, 144, 60, 100, 247]])
receive(midi, [[240, 125, 1], [2, 3], [4, 247]])
receive(midi, [[], [254]])
receive(midi, [[248], [240, 1, 247], [192, 5]])

-- Timestamps are milliseconds since the timer was last reset.
midi.ResetTimer()
wait(20)
virtualMidiSend("Virtual Bus", [[248]])
received = midi.GetNextMessage()
put received.timestamp >= 20, received.timestamp <= midi.GetTime()
-- A closed input hears nothing more.
midi.CloseInput()
virtualMidiSend("Virtual Bus", [[250]])
put midi.MessagesPending()
put hostLiveValues()
midi = 0
