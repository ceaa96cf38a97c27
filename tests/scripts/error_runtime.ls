-- A script error stops the script; what it printed before stays printed.
put "before"
x = 1

put x + undefinedThing
put "never"
