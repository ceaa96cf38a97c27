-- A host function's error is a script error on the line that called it; host functions are
-- found whatever the case of their name.
put HOSTLIVEVALUES()
virtualMidiRemoveDevice("Nowhere")
put "never"
