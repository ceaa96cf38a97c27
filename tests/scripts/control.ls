-- if, every repeat form, exit repeat and next repeat.
repeat with i = 1 to 3
  put i
end repeat
put i

repeat with i = 3 down to 1
  if i = 2 then next repeat
  put i
end repeat

repeat with i = 5 to 4
  put "never"
end repeat

repeat with x in [#a, "b", 3]
  put x
end repeat

repeat with v in [#k: "value"]
  put v
end repeat

n = 0
repeat while n < 100
  n = n + 1
  if n mod 2 = 0 then next repeat
  if n > 6 then exit repeat
  put n
end repeat
put n

-- nested loops: exit repeat leaves only the inner one
repeat with a = 1 to 2
  repeat with b = 1 to 5
    if b > 2 then exit repeat
    put a * 10 + b
  end repeat
end repeat

on classify n
  if n < 0 then
    return "negative"
  else if n = 0 then
    return "zero"
  else if n < 10 then return "small"
  else
    return "large"
  end if
end
put classify(-5), classify(0), classify(7), classify(70)

if TRUE then put "one line"
if FALSE then put "no" else put "else on the same line"
if 1 = 1 then
  put "block"
end if
if 1 = 2 then
  put "no"
else
  if 2 = 2 then put "nested one-line if"
end if

-- a loop that appends to the list it walks stops at the end it finds
l = [1, 2]
repeat with item in l
  if item < 4 then append(l, item + 2)
end repeat
put l

-- a wait lasts its time, with no MIDI client about too; the ticks and the milliseconds count from
-- the start, the timer from the last startTimer
wait(200)
put the timer >= 12, the ticks >= 12, the milliseconds >= 200
startTimer
put the timer < 12, the ticks >= 12
