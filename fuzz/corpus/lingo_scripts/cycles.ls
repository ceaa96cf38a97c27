on f
  l = [1]
  add(l, l)
  p = [#me: 0]
  p.me = p
  return [l, p]
end
x = f()
x = 0
l = [1]
add(l, l)
put l = duplicate(l), l
