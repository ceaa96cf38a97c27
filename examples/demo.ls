-- Tonvik demo: a tour of the Xtra on the virtual MIDI system's loopback bus.
-- Run it with: build/bin/tonvik examples/demo.ls

midi = new(xtra "Tonvik")
put "Init:", midi.Init()
put "Input ports:", midi.GetInputPorts()
put "Output ports:", midi.GetOutputPorts()

-- Port 1 of each list is the "Virtual Bus" loopback: what goes out comes back in.
put "OpenInput:", midi.OpenInput(1, 4096)
put "OpenOutput:", midi.OpenOutput(1)

-- A C major chord, a controller, a pitch bend and a system-exclusive message.
repeat with key in [60, 64, 67]
  midi.SendMessage([#type: #noteOn, #channel: 1, #number: key, #velocity: 100])
end repeat
midi.SendMessage([#type: #controlChange, #channel: 1, #number: 7, #value: 90])
midi.SendMessage([#type: #pitchBend, #channel: 1, #amount: -2048])
midi.SendMessage([#type: #systemExclusive, #manufacturerID: 125, #data: [1, 2, 3, 4]])
wait(50)

put "Received, with timestamps in ms:"
repeat with message in midi.GetPendingMessages()
  put message
end repeat

-- A filter: only notes on channel 1 and no system messages get in.
put "SetChannelFilter:", midi.SetChannelFilter(#note, 1)
put "SetSystemFilter:", midi.SetSystemFilter(#none)
midi.SendMessage([#type: #programChange, #channel: 1, #number: 5])
midi.SendMessage([#type: #clock])
midi.SendMessage([#type: #noteOff, #channel: 1, #number: 60, #velocity: 0])
wait(50)
put "After filtering:", midi.GetPendingMessages()
midi.SetChannelFilter(#all, 0)
midi.SetSystemFilter(#all)

-- An overflow: a 1024-byte queue holds 146 note messages; the rest are lost and reported.
midi.CloseInput()
put "Small queue:", midi.OpenInput(1, 1024)
repeat with i = 1 to 200
  midi.SendMessage([#noteOn, 1, 60, 1 + (i mod 127)])
end repeat
wait(100)
put "Queued:", count(midi.GetPendingMessages())
put "Overflowed:", midi.InputOverflowed()
put "Overflowed again:", midi.InputOverflowed()

put "CloseInput:", midi.CloseInput()
put "CloseOutput:", midi.CloseOutput()
midi = 0
