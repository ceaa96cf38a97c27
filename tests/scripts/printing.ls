-- How the message window shows every kind of value.
put 42
put -7
put 0.5
put 25.0
put 3.14159
put -0.25
put 1/3.0
put "No error"
put ""
put "say " & QUOTE & "hi" & QUOTE -- quotes inside are not escaped
put #noteOn
put #NOTEON -- a symbol keeps the spelling it was first seen with
put VOID
put TRUE, FALSE
put EMPTY
put [1, 2, 3]
put []
put [#code: 0, #text: "No error"]
put [:]
put [1, [2, "a"], [#k: [:]]]
put ["a": 1, 3: #x]
put 1, "two", #three, [4]
put 3000000000
-- values a script rarely makes, as put shows them and as text
put 1e20, 1e400, -1e400, 1e400 - 1e400
put "" & 1e20 & " " & 1e400 & " " & (1e400 - 1e400) & " [" & VOID & "] " & xtra "Tonvik"
