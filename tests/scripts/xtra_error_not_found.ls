-- Naming an Xtra that is not loaded is a script error.
put xtra "tonvik"
x = xtra "Fenwold"
