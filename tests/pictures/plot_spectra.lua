-- A spectrum plotted as EPS and SVG: the SVG polyline maps back to the
-- spectrum, the axes carry their labels, and the EPS file has the prolog,
-- bounding box and trailer of the writer.
local check = require "check"
local Plot = require "Plot"

-- Two Lorentzians, made from a table.
local points = {}
for k = 0, 100 do
  local e = -5 + 0.1 * k
  points[k + 1] = {e, Complex.New(0, -(0.5 / ((e - 1) ^ 2 + 0.25) + 0.2 / ((e + 2) ^ 2 + 0.25)))}
end
local S = Spectra.FromTable({points})
local eps, svg = Plot.Spectra(S, "two_peaks", {title = "Two peaks", xlabel = "Energy (eV)"})
check.eq(eps, "two_peaks.eps", "EPS name")

local f = assert(io.open(svg))
local text = f:read("*a")
f:close()
check.truthy(text:find("Energy %(eV%)"), "x label")
check.truthy(text:find("Two peaks"), "title")
-- The polyline: x in the frame from 60 to 460 over -5..5, y (downward)
-- proportional to -Im G / pi above the baseline.
local coords = text:match('<polyline[^>]*points="([^"]*)"')
local xs, ys = {}, {}
for x, y in coords:gmatch("([%d%.%-]+),([%d%.%-]+)") do xs[#xs + 1] = tonumber(x); ys[#ys + 1] = tonumber(y) end
check.eq(#xs, 101, "one point per energy")
check.near(xs[1], 60, 1e-3, "first x")
check.near(xs[101], 460, 1e-3, "last x")
local peak = 0
for k = 1, 101 do if ys[k] < ys[peak > 0 and peak or 1] then peak = k end end
check.eq(peak, 61, "the highest point is the peak at 1 eV")

f = assert(io.open(eps))
local e = f:read("*a")
f:close()
check.eq(e:sub(1, 24), "%!PS-Adobe-2.0 EPSF-2.0\n", "EPS header")
check.truthy(e:find("%%BoundingBox: 0 0   480   320", 1, true), "bounding box")
check.truthy(e:find("restore\n%%EOF\n", 1, true), "trailer")
print("done")
