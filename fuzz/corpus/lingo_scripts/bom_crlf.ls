put 1
if 1 then
  put 2 \
 + 3
end ifput 4