l = [0]
repeat with i = 1 to 40
  l = [l, l]
end repeat
put l = duplicate(l)
m = [0]
repeat with i = 1 to 12
  m = [m, m]
end repeat
put length(string(m))
