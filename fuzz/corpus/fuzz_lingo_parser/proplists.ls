-- Property lists: keys, duplicates, lookups that fail or give VOID.
msg = [#type: #noteOn, #channel: 1, #number: 60, #velocity: 100]
put msg.type, msg[#number], msg.Velocity -- keys ignore case, like every symbol
put getProp(msg, #channel), getaProp(msg, #timestamp), msg[#missing]
put count(msg), msg.count, getAt(msg, 3), msg[2]
put getPropAt(msg, 1), findPos(msg, #number), findPos(msg, #nothing)

msg.channel = 2
msg[#velocity] = 0
msg.timestamp = 5120 -- setting a missing property adds it
put msg

setaProp(msg, #number, 61)
setProp(msg, #type, #noteOff)
put msg

-- addProp keeps duplicate keys; lookups find the first
p = [:]
addProp(p, #a, 1)
addProp(p, #a, 2)
put p, p.a, getOne(p, 2)
deleteProp(p, #a)
put p
deleteAt(p, 1)
put p, voidp(p[#a])

-- keys of other kinds
q = ["name": "Bus", 7: "seven"]
put q["name"], q[#name], getaProp(q, 7), q[1]

-- the same list under two names
r = msg
r.channel = 16
put msg.channel
put ilk(msg), ilk(msg, #propList), ilk(msg, #list), ilk([], #propList)
