-- The second window of sysex_sender.ls: receives its system-exclusive messages and checks each.
-- The sender's JACK client is "Tonvik Xtra"; its second instance's ports talk to this window.
on waitForInput instance, name
  stopAt = the milliseconds + 10000
  repeat while the milliseconds < stopAt
    if getPos(instance.GetInputPorts(), name) > 0 then return TRUE
    wait(20)
  end repeat
  return FALSE
end

-- The data's length, and whether every byte is the one sent.
on checked message
  data = message.data
  right = TRUE
  repeat with i = 1 to count(data)
    if getAt(data, i) <> i mod 128 then right = FALSE
  end repeat
  return [message.manufacturerID, count(data), right]
end

midi = new(xtra "Tonvik")
put midi.Init()
put waitForInput(midi, "Tonvik Xtra Fenwold Output 2")
put midi.OpenInput(getPos(midi.GetInputPorts(), "Tonvik Xtra Fenwold Output 2"), 1048576)
put midi.OpenOutput(getPos(midi.GetOutputPorts(), "Tonvik Xtra Fenwold Input 2"))
-- Note 1 says "listening" until the first message comes: the sender may open its input late.
received = []
stopAt = the milliseconds + 10000
repeat while count(received) < 2 and the milliseconds < stopAt
  if count(received) = 0 then midi.SendMessage([#type: #noteOn, #channel: 1, #number: 1, #velocity: 100])
  repeat with message in midi.GetPendingMessages()
    add(received, message)
  end repeat
  wait(50)
end repeat
-- A little longer: anything more would show as a third message.
wait(200)
repeat with message in midi.GetPendingMessages()
  add(received, message)
end repeat
put count(received)
repeat with message in received
  put message.type, checked(message)
end repeat
put midi.SendMessage([#type: #noteOn, #channel: 1, #number: 2, #velocity: 100])
wait(200)
midi = 0
