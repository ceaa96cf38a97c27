l = [1, 2, 3]
put l[3]
put l[4]
