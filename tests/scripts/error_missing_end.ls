put "never"
repeat with i = 1 to 3
  if i = 2 then
    put i
  end if
-- the repeat is never closed; the error names the line it opened on
