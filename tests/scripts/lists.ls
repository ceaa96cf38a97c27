-- Linear lists: reference semantics, positions from 1, and the list functions.
a = [10, 20]
b = a
append(b, 30)
add a, 40 -- the command form, without parentheses
put a, b
put a = b, a = [10, 20, 30, 40], a = [10, 20]
c = duplicate(a)
setAt(c, 1, 99)
put a[1], c[1]

-- setAt past the end pads with 0
l = []
setAt(l, 3, #x)
put l, count(l), l.count
l[5] = "y"
put l

put getAt(a, 2), a[4], getLast(a), getLast([])
deleteAt(a, 1)
put a
put getPos(a, 30), getPos(a, 77), getOne(a, 40)
deleteOne(a, 30)
put a
put getaProp(a, 9), getProp(a, 1)

-- nested lists are shared too
inner = [1]
outer = [inner, inner]
append(inner, 2)
put outer
outer[1][1] = "changed"
put outer, inner

put list(1, "a", #b), list()
put a.getAt(1), a.count()
put listp(a), listp([:]), listp("a")

-- a list that contains itself prints without recursing
self = [1]
append(self, self)
put self
-- through a property list too; the same list twice side by side is no cycle
p = [#back: 0]
l = [1, p]
p.back = l
shared = []
put l, [shared, shared]
