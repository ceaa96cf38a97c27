-- A syntax error anywhere stops the script before its first statement runs.
put "never, although this line is fine"
if 1 = 1 then
  put (1 + 2
end if
