-- Associativity, comparisons and the scope of names, as Lingo has them.
put 10 - 2 - 3, 100 / 10 / 5, 7 mod 4 * 2
put 1 = 1 and 2 < 1 or 3 = 3, "x" & "y" = "XY"
put (-2147483647 - 1) / -1
put [1, [2]] = [1, [2]], [1] = [1, 2], [#a: 1] = [#A: 1], [1] = 1
put "10" < "9", 10 < 9
put 2e3, "a -- b"

-- A list literal makes a new list every time it is evaluated.
repeat with i = 1 to 2
  l = []
  append(l, i)
  put l
end repeat

p = [#a: [#b: 1]]
p.a.b = 2
put p, p[#a][#b]

-- The loop variable is an ordinary variable, changed by the body too.
x = 1
repeat with x = 1 to 3
  x = x + 1
end repeat
put x

on firstAbove n
  repeat with i = 1 to 5
    if i > n then return i
  end repeat
end
put firstAbove(1)

-- Tokens: two-character operators stay whole, newlines inside brackets and after a
-- continuation mark do not end the statement, and a stray bracket does not swallow newlines.
put 1<=2, 1<>2, 2>=1, "a"&&"b"&"c"
put [1,
2]
put 1 + \
 2
put [#k: 1].k

-- A script's own handler comes before a host function of the same name.
on hostLiveValues
  return "the script's"
end
put hostLiveValues()
