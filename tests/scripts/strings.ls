-- Text: concatenation, comparison ignoring case, and the string functions.
name = "Virtual"
put name & " Bus", name && "Bus", "n=" & 5, "f=" & 0.5, "s=" & #sym, "v=" & VOID & "."
put "list: " & [1, "a"]
put "abc" = "ABC", "abc" <> "abd", "apple" < "Banana", "b" > "A"
put "2" = 2, "2.0" = 2, "x" = 0, VOID = 0, VOID = "", #abc = "ABC"
put "Hello World" contains "world", "Hello" starts "he", "Hello" starts "lo"
put length("hello"), "hello".length, length(EMPTY)
put chars("Tonvik", 2, 4), chars("abc", 0, 99), chars("abc", 3, 1)
put offset("vik", "Tonvik"), offset("x", "Tonvik")
put string(42), string(0.5), string(#noteOn), string("s"), string(VOID)
put integer("12"), integer(" 7 "), integer("1.5"), integer("abc"), integer(-2.5)
put float(3), float("0.25"), symbol("Foo"), symbol(#bar), symbol(""), symbol(3)
put stringp("a"), stringp(#a), symbolp(#a), integerp(1), integerp(1.0), floatp(1.0), voidp(VOID)

s = "mid"
put "start-" before s
put "-end" after s
put s
put 1 + 2 into total
put total
