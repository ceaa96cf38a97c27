-- halt ends the script at once, from inside handlers too, and is not an error.
on stopHere
  put "stopping"
  halt
  put "never"
end
stopHere()
put "never either"
