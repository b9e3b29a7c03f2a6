-- The PostScript writer: the text of a small picture (prolog, text with
-- both argument orders and an unknown alignment, a red polygon, a line, a
-- bitmap with clamped colours, trailer), and its messages.
local check = require "check"

local s = PostScript.Open()
s = PostScript.Text(s, "a", 1, 2, "r", 12)
s = PostScript.Text(s, "a", 1, 2, 12, "r")
s = PostScript.Text(s, "b", 1, 2, "x")
s = PostScript.Text(s, "a", 3, 4, "Symbol", "c")
s = PostScript.Polygon(s, {0, 10, 10}, {0, 0, 10}, {255, 0, 0})
s = PostScript.Line(s, {0, 10}, {0, 5}, 2)
s = PostScript.Bitmap(s, 0, 0, 10, 10, {{1, 2}, {3, 4}}, function(v) return 300 * v - 600, -1, 100 end)
s = PostScript.Close(s)
io.write(s)

check.eq(PostScript.Open(30, 40):match("BoundingBox: 0 0 +30 +40") ~= nil, true, "bounding box")
check.fails("Error in PostScript.Open expected 0 or 2 arguments, not 1\n", PostScript.Open, 1)
check.fails("PostScript.Text requires minimal 4 arguments and not 3\n", PostScript.Text, s, "a", 1)
check.fails("Unrecognized font in PostScript.Text (Helvetica)\n", PostScript.Text, s, "a", 1, 2, "Helvetica")
check.fails("PostScript.Line requires a table at position 2 and 3 of the same lenght (currently Nx=2, Ny=1)\n",
  PostScript.Line, s, {1, 2}, {1})
check.fails("PostScript.Polygon Color should be a table with 3 values (RGB) between 0 and 255\n",
  PostScript.Polygon, s, {1}, {1}, {300, 0, 0})
check.fails("Dimensions of matrices that specify the color must all be the same\n",
  PostScript.Bitmap, s, 0, 0, 1, 1, {{{1, 2}}, {{1}}}, function() return 0, 0, 0 end)
check.fails("Incorrect color function call\n", PostScript.Bitmap, s, 0, 0, 1, 1, {{1}}, function() error("x") end)
check.eq(select("#", PlotBands(1, 2, 3)), 0, "PlotBands returns nothing")
-- The colour function gets one argument per matrix: a number, or a Complex
-- for a complex matrix.
local kinds = {}
PostScript.Bitmap(PostScript.Open(), 0, 0, 1, 1, {{{1}}, {{Complex.New(1, 2)}}},
  function(a, b) kinds[1], kinds[2] = type(a), tostring(b); return 0, 0, 0 end)
check.eq(kinds[1], "number", "a real element")
check.eq(kinds[2], tostring(Complex.New(1, 2)), "a complex element")
