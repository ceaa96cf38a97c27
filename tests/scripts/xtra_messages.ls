-- Every kind of message out through the loopback bus and back in, then the errors of
-- SendMessage. Timestamps are set to 0 so the output does not depend on timing.
on receiveAll midi
  wait(20)
  repeat with message in midi.GetPendingMessages()
    setAt(message, count(message), 0)
    put message
  end repeat
end

midi = new(xtra "Tonvik")
midi.Init()
midi.OpenInput(1, 8192)
midi.OpenOutput(1)
sent = [ ¬
  [#type: #noteOn, #channel: 1, #number: 60, #velocity: 100], ¬
  [#type: #noteOn, #channel: 16, #number: 61, #velocity: 0], ¬
  [#type: #noteOff, #channel: 2, #number: 62, #velocity: 64], ¬
  [#type: #polyKeyPressure, #channel: 3, #number: 63, #pressure: 10], ¬
  [#type: #controlChange, #channel: 4, #number: 7, #value: 127], ¬
  [#type: #programChange, #channel: 5, #number: 42], ¬
  [#type: #channelPressure, #channel: 6, #number: 99], ¬
  [#type: #pitchBend, #channel: 7, #amount: -8192], ¬
  [#type: #pitchBend, #channel: 7, #amount: 8191], ¬
  [#type: #localControlOff, #channel: 1], ¬
  [#type: #localControlOn, #channel: 1], ¬
  [#type: #allNotesOff, #channel: 1], ¬
  [#type: #omniModeOff, #channel: 1], ¬
  [#type: #omniModeOn, #channel: 1], ¬
  [#type: #monoModeOn, #channel: 1, #numChannels: 4], ¬
  [#type: #polyModeOn, #channel: 1], ¬
  [#type: #mtcQuarterFrame, #subFrame: 3, #data: 5], ¬
  [#type: #songPositionPointer, #position: 272], ¬
  [#type: #songSelect, #number: 5], ¬
  [#type: #tuneRequest], ¬
  [#clock], [#start], [#continue], [#stop], [#activeSensing], [#systemReset], ¬
  [#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2, 127]], ¬
  [#type: #systemExclusive, #manufacturerID: 0, #data: []]]
repeat with message in sent
  result = midi.SendMessage(message)
  if result.code <> 0 then put message, result
end repeat
receiveAll(midi)

-- Symbols are known whatever their case; a system-exclusive message keeps every data byte up
-- to its final 247, real-time bytes and 127 included, and goes out again as it came in.
midi.SendMessage([#NOTEON, 1, 60, 100])
virtualMidiSend("Virtual Bus", [[240, 0, 32, 248, 127, 247]])
receiveAll(midi)
virtualMidiSend("Virtual Bus", [[240, 125, 1, 2, 247]])
put midi.SendMessage(midi.GetNextMessage())
receiveAll(midi)

-- Errors, in the order they are checked; each is given with the message that sent nothing.
errors = [42, [], [:], ["noteOn", 1, 60, 100], [#voice], [#foo], [#all], ¬
  [#type: #noteOn, #channel: 1, #number: 60], ¬
  [#type: #noteOn, #channel: 17, #number: 60, #velocity: 1], ¬
  [#type: #noteOn, #channel: 1, #number: 60, #velocity: "loud"], ¬
  [#noteOn, 0, 60, 100], [#noteOn, -1, 60, 100], [#noteOn, 1, 128, 100], ¬
  [#noteOn, "1", 999], [#noteOn, 99], [#noteOn], ¬
  [#type: #pitchBend, #channel: 1, #amount: 8192], [#pitchBend, 1, -8193], ¬
  [#pitchBend, 1, 2147483647], [#pitchBend, 1], ¬
  [#songPositionPointer, 16384], [#songPositionPointer, -1], ¬
  [#mtcQuarterFrame, 8, 0], [#mtcQuarterFrame, 7, 16], [#monoModeOn, 1, 128], ¬
  [#allNotesOff], [#songSelect, 128], ¬
  [#type: #systemExclusive, #manufacturerID: 125, #data: 5], ¬
  [#type: #systemExclusive, #manufacturerID: 125, #data: [1, 200]], ¬
  [#systemExclusive, 125, [1, "2"]], [#systemExclusive, 125], ¬
  [#systemExclusive, 128, []], [#systemExclusive]]
repeat with message in errors
  put midi.SendMessage(message), message
end repeat
-- With the output closed, every message gives that error first.
midi.CloseOutput()
append(errors, [#clock])
codes = []
repeat with message in errors
  result = midi.SendMessage(message)
  append(codes, result.code)
end repeat
put codes
wait(20)
put midi.MessagesPending()
put hostLiveValues()
midi = 0
