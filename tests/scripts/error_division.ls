put 7 / 2.0
put 7 mod 0
