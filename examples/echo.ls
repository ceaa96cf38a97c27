-- Echo: sends back on the output whatever arrives on the input.
-- On the virtual MIDI system this script builds a small studio of its own, a "Keyboard" that
-- plays into the Xtra and a "Synth" that hears what the Xtra sends, so you can watch the echo.
-- Run it with: build/bin/tonvik examples/echo.ls

virtualMidiSetup([#devices: [ ¬
  [#name: "Keyboard", #entities: [[#name: "Keyboard", #sources: ["Keyboard"], #destinations: []]]], ¬
  [#name: "Synth", #entities: [[#name: "Synth", #sources: [], #destinations: ["Synth"]]]]]])

midi = new(xtra "Tonvik")
put midi.Init()
put "In:", midi.GetInputPorts(), "Out:", midi.GetOutputPorts()
put midi.OpenInput(1, 65536)
put midi.OpenOutput(1)

-- The keyboard plays a phrase (status bytes in decimal: 144 note-on, 176 control change,
-- 128 note-off); every message that arrives goes straight back out.
virtualMidiSend("Keyboard", [[144, 60, 100], [144, 64, 100], [176, 64, 127], [128, 60, 0]])
repeat with message in midi.GetPendingMessages()
  put "echo", message
  midi.SendMessage(message)
end repeat
put "The synth heard:", virtualMidiReceived("Synth")
midi = 0
