-- Integer arithmetic stays integer; a float operand makes a float.
put 5 / 2, -5 / 2, 5 / 2.0, 7 * 3, 2 + 3 * 4, (2 + 3) * 4
put 7 mod 3, -7 mod 3, 7 mod -3, 7.5 mod 2
put 1 + 0.5, 10 - 2.5, 3 * 1.5, -(4), - -4, 3--4 is 3: "--" starts a comment
put "3" + 4, "1.5" * 2, 2 - "10"
put 2147483647 + 1, -2147483647 - 2 -- 32-bit integers wrap as Director's do
put 1 < 2, 2 <= 2, 3 > 4, 4 >= 5, 1 = 1.0, 1 <> 2
put 1 and 0, 1 or 0, not 0, not 5, TRUE and TRUE
put not 1 = 0 -- not binds tighter than =, as in Lingo: (not 1) = 0
put 1 + 2 & "x", "a" & 1 + 2
put abs(-3), abs(2.5), abs(-0.5)
x = 10
set x = x + 1
set y to x * 2
put x, y
put 1 + ¬
  2 + \
  3
