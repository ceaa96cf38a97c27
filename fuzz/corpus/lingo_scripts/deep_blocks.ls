if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
if 1 then
put 1
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
end if
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
repeat with i = 1 to 2
put i
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
end repeat
