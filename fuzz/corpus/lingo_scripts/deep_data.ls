l = []
repeat with i = 1 to 60000
  l = [l]
end repeat
put string(l)
put duplicate(l) = l
l = 0
