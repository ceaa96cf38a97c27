-- Handlers: defined anywhere in the script, called before their definition, with missing
-- arguments VOID, recursion, globals, and the command form.
put double(21)

on double n
  return n * 2
end

on describe a, b
  return [a, b]
end describe

on factorial(n)
  if n <= 1 then return 1
  return n * factorial(n - 1)
end

on nothing
  return
end

on early x
  if x then exit
  return "late"
end

global counter
counter = 0
total = 7 -- global too, as every top-level variable, but declared nowhere

on bump by
  if voidp(by) then by = 1
  counter = counter + by -- the global: the script declares it outside its handlers
end

on localOnly
  total = 100 -- a local of its own, not the global
  return total
end

put describe(1), describe(1, 2, 3)
put factorial(12)
put nothing(), early(TRUE), early(FALSE)
bump
bump 5
bump(10)
put counter
put localOnly(), total

-- the list a handler is given is the caller's list
on addTo l, v
  append(l, v)
end
items = []
addTo items, #one
addTo(items, #two)
put items

-- handler names ignore case
put DOUBLE(2), Factorial(3)
