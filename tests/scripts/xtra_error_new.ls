-- An instance the host has no memory for fails "new" with the host's status; an Xtra that is
-- not loaded is a script error of its own.
put hostLiveValues()
hostFailAllocations(1)
midi = new(xtra "Tonvik")
