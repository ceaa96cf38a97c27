-- Lists that hold themselves and an instance (40 host values): the instance goes when the
-- handler that closed the cycle returns, or, for what the script still holds, when the tool
-- exits, which says on standard error if anything is left.
on made
  return [new(xtra "Tonvik")]
end

on cycle
  l = made()
  add(l, l)
  return l
end

on closeLocal
  l = [new(xtra "Tonvik")]
  add(l, l)
  l = cycle() -- on a list that another handler made
  p = [#o: new(xtra "Tonvik")]
  p.me = p
end

-- What a handler returns stays until its caller lets go and returns in turn.
on keepReturned
  k = cycle()
  put hostLiveValues()
end

on keepInGlobal
  global g
  g = cycle()
end

closeLocal()
put hostLiveValues()
keepReturned()
put hostLiveValues()
-- A cycle let go at the top level waits for the end of the run.
keepInGlobal()
g = 0
put hostLiveValues()
l = [new(xtra "Tonvik")]
append(l, l)
p = [#self: 0, #obj: new(xtra "Tonvik")]
p.self = p
