-- The line reported is the one inside the handler where the error happened.
on inner l
  put "in inner"
  return getProp(l, #missing)
end

on outer
  return inner([#present: 1])
end

put outer()
