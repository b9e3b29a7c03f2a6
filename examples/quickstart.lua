-- Skelda quickstart: what the calculator can do so far.
print("Skelda is running; pi =", pi)
print({ "tables print by their contents", n = 3 })
