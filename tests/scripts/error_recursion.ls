-- Endless recursion is a script error, not a crash.
on forever n
  return forever(n + 1)
end
put forever(1)
