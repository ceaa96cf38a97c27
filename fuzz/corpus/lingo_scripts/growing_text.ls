s = "x"
repeat while 1
  s = s & s
end repeat
