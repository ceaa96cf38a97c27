-- Sends a system-exclusive dump of a few kilobytes through the loopback bus and checks that it
-- came back whole. Run it with: build/bin/tonvik examples/sysex-dump.ls

size = 4096
midi = new(xtra "Tonvik")
midi.Init()
put midi.OpenInput(1, 65536)
put midi.OpenOutput(1)

dump = []
repeat with i = 1 to size
  append(dump, i mod 128)
end repeat
put "Sending", size, "bytes:", midi.SendMessage([#type: #systemExclusive, #manufacturerID: 125, #data: dump])

received = [:]
stopAt = the milliseconds + 2000
repeat while count(received) = 0 and the milliseconds < stopAt
  received = midi.GetNextMessage()
  wait(5)
end repeat
if count(received) = 0 then
  put "Nothing arrived"
else
  put "Received", count(received.data), "bytes from manufacturer", received.manufacturerID
  same = (count(received.data) = size)
  repeat with i = 1 to count(received.data)
    if received.data[i] <> dump[i] then
      same = FALSE
      exit repeat
    end if
  end repeat
  put "Identical:", same
end if
midi = 0
