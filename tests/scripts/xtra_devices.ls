-- Port names from a described setup, changes at run time, and a port that vanished between
-- listing and opening.
virtualMidiSetup([#devices: [ ¬
  [#name: "Hub", #entities: [[#name: "Port 1", #sources: ["Port 1"], #destinations: ["Port 1"]], ¬
                             [#name: "Port 2", #sources: ["Port 2"], #destinations: []]]], ¬
  [#name: "Uno", #entities: [[#name: "Uno", #sources: ["A", "B"], #destinations: []]]], ¬
  [#name: "Hidden", #hidden: TRUE, #entities: [[#name: "Hidden", #sources: ["Hidden"]]]]], ¬
  #sources: ["Synth", "Synth", VOID], #destinations: ["Out"]])
midi = new(xtra "Tonvik")
put midi.Init()
put midi.GetInputPorts()
put midi.GetOutputPorts()

virtualMidiAddDevice([#name: "Late", #entities: [[#name: "Late", #sources: ["Late"]]]])
virtualMidiRenameDevice("Hub", "Box")
wait(10)
put midi.GetInputPorts()

virtualMidiRemoveDevice("Late")
wait(10)
put midi.OpenInput(8, 1024)
put midi.GetInputPorts()
put midi.OpenInput(8, 1024)

-- Each direction is named on its own: two devices called "Box", one with a source and one with
-- a destination, are no duplicates of each other.
virtualMidiSetup([#devices: [ ¬
  [#name: "Box", #entities: [[#name: "Box", #sources: ["Box"], #destinations: []]]], ¬
  [#name: "Box", #entities: [[#name: "Box", #sources: [], #destinations: ["Box"]]]]]])
wait(10)
put midi.GetInputPorts(), midi.GetOutputPorts()
put midi.OpenOutput(1)
midi = 0
