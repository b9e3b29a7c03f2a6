-- The printed forms: a table matrix by the table text rule, a userdata by its
-- fixed text.
print(Matrix.Identity(2))
print(Matrix.ToUserdata({{1}}))
print(-Matrix.Identity(2))
print(Matrix.ToTable({{1, I}, {0.5, -2 - I}}))
print(Matrix.Transpose({{1, 2, 3}}))
print(Matrix.Zero(0))
print(Matrix.Identity(2) * Complex.New(1, 0))
local w = Eigensystem({{2, 0}, {0, 1}})
print(w)
