put "5" + 1
put "five" + 1
