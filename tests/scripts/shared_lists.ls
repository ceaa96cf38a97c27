-- Copies and comparisons of lists that share lists or contain themselves, at any depth.
inner = [1]
l = [inner, inner]
d = duplicate(l)
add(d[1], 2)
put d, l -- the copy shares its inner list the way the original does

self = [1]
add(self, self)
copy = duplicate(self)
put copy, copy = self, copy[2] = copy
other = [1]
add(other, other)
put other = self, other = [1, [1]]

props = [#a: 1]
addProp(props, #me, props)
put duplicate(props) = props, props

deep = []
repeat with i = 1 to 20000
  deep = [deep]
end repeat
put length(string(deep)), duplicate(deep) = deep, deep = [[1]]
deep = 0
