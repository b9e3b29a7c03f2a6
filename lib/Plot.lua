-- Pictures of spectra, shipped with the program and found by `require "Plot"`
-- (the program puts its lib/ folder on package.path at start).
--
--   local Plot = require "Plot"
--   Plot.Spectra(S, "xas", {title = "Ni L2,3", xlabel = "Energy (eV)"})
--     writes xas.eps (through the PostScript calls) and xas.svg: a line plot
--     of -Im G / pi of every spectrum of S (or of the real part with
--     {part = "Re"}), with axes, ticks and labels.
--   Plot.Map(S, "rixs", {title = ...})
--     writes rixs.eps and rixs.svg: a colour map of a resonant map, the
--     incoming energy (ResonantEnergy) across and the outgoing energy up.
local Plot = {}

local W, H = 480, 320               -- picture size in points
local left, right, bottom, top = 60, 20, 45, 30
local colours = {{0, 0, 0}, {200, 30, 30}, {30, 90, 200}, {20, 150, 60}, {160, 60, 170}, {220, 140, 0}}

-- Round numbers for the ticks of an axis from lo to hi.
local function Ticks(lo, hi)
  local span = hi - lo
  if span <= 0 then return {lo} end
  local step = 10 ^ math.floor(math.log10(span / 5))
  for _, f in ipairs({1, 2, 5, 10}) do
    if span / (step * f) <= 6 then step = step * f; break end
  end
  local t, x = {}, math.ceil(lo / step) * step
  while x <= hi + 1e-9 * span do t[#t + 1] = x; x = x + step end
  return t
end

local function Label(x)
  if x == 0 then return "0" end
  return string.format("%.6g", x)
end

local function Escape(s)
  return (tostring(s):gsub("&", "&amp;"):gsub("<", "&lt;"):gsub(">", "&gt;"):gsub('"', "&quot;"))
end

-- The curves to draw: {x = {...}, y = {...}} for each spectrum.
local function Curves(S, part)
  local curves = {}
  for n, spectrum in ipairs(Spectra.ToTable(S)) do
    local c = {x = {}, y = {}, name = spectrum.Name}
    for k, point in ipairs(spectrum) do
      c.x[k] = point[1]
      local v = point[2]
      c.y[k] = part == "Re" and v.re or -v.im / math.pi
    end
    curves[n] = c
  end
  return curves
end

local function Range(curves, key)
  local lo, hi = math.huge, -math.huge
  for _, c in ipairs(curves) do
    for _, v in ipairs(c[key]) do lo = math.min(lo, v); hi = math.max(hi, v) end
  end
  if lo == hi then lo, hi = lo - 1, hi + 1 end
  return lo, hi
end

-- Maps data to picture coordinates (y up, as in PostScript).
local function Frame(xlo, xhi, ylo, yhi)
  return function(x) return left + (x - xlo) / (xhi - xlo) * (W - left - right) end,
         function(y) return bottom + (y - ylo) / (yhi - ylo) * (H - bottom - top) end
end

local function Write(name, text)
  local f = assert(io.open(name, "w"))
  f:write(text)
  f:close()
end

-- Axes, ticks and labels, in both outfits.
local function Axes(ps, svg, X, Y, xlo, xhi, ylo, yhi, options)
  local x0, x1, y0, y1 = X(xlo), X(xhi), Y(ylo), Y(yhi)
  ps = PostScript.Line(ps, {x0, x1, x1, x0, x0}, {y0, y0, y1, y1, y0}, 0.8)
  svg[#svg + 1] = string.format('<rect x="%.2f" y="%.2f" width="%.2f" height="%.2f" fill="none" stroke="black" stroke-width="0.8"/>',
    x0, H - y1, x1 - x0, y1 - y0)
  for _, t in ipairs(Ticks(xlo, xhi)) do
    ps = PostScript.Line(ps, {X(t), X(t)}, {y0, y0 + 5}, 0.8)
    ps = PostScript.Text(ps, Label(t), X(t), y0 - 14, 10, "c")
    svg[#svg + 1] = string.format('<line x1="%.2f" y1="%.2f" x2="%.2f" y2="%.2f" stroke="black" stroke-width="0.8"/>',
      X(t), H - y0, X(t), H - y0 - 5)
    svg[#svg + 1] = string.format('<text x="%.2f" y="%.2f" font-size="10" text-anchor="middle">%s</text>',
      X(t), H - y0 + 14, Label(t))
  end
  for _, t in ipairs(Ticks(ylo, yhi)) do
    ps = PostScript.Line(ps, {x0, x0 + 5}, {Y(t), Y(t)}, 0.8)
    ps = PostScript.Text(ps, Label(t), x0 - 4, Y(t) - 3, 10, "r")
    svg[#svg + 1] = string.format('<line x1="%.2f" y1="%.2f" x2="%.2f" y2="%.2f" stroke="black" stroke-width="0.8"/>',
      x0, H - Y(t), x0 + 5, H - Y(t))
    svg[#svg + 1] = string.format('<text x="%.2f" y="%.2f" font-size="10" text-anchor="end">%s</text>',
      x0 - 4, H - Y(t) + 3, Label(t))
  end
  local xlabel, ylabel, title = options.xlabel or "Energy (eV)", options.ylabel or "Intensity", options.title or ""
  ps = PostScript.Text(ps, xlabel, (x0 + x1) / 2, 8, 12, "c")
  ps = PostScript.Text(ps, title, (x0 + x1) / 2, H - 20, 13, "c")
  ps = PostScript.Text(ps, ylabel, 4, H - 18, 11, "l")
  svg[#svg + 1] = string.format('<text x="%.2f" y="%.2f" font-size="12" text-anchor="middle">%s</text>',
    (x0 + x1) / 2, H - 8, Escape(xlabel))
  svg[#svg + 1] = string.format('<text x="%.2f" y="20" font-size="13" text-anchor="middle">%s</text>',
    (x0 + x1) / 2, Escape(title))
  svg[#svg + 1] = string.format('<text x="4" y="18" font-size="11">%s</text>', Escape(ylabel))
  return ps
end

local function SvgHead()
  return {string.format('<?xml version="1.0" encoding="UTF-8"?>\n<svg xmlns="http://www.w3.org/2000/svg" '
    .. 'width="%d" height="%d" viewBox="0 0 %d %d" font-family="Times, serif">', W, H, W, H),
    string.format('<rect width="%d" height="%d" fill="white"/>', W, H)}
end

function Plot.Spectra(S, name, options)
  options = options or {}
  local curves = Curves(S, options.part)
  local xlo, xhi = Range(curves, "x")
  local ylo, yhi = Range(curves, "y")
  ylo = math.min(ylo, 0)
  yhi = yhi + 0.05 * (yhi - ylo)
  local X, Y = Frame(xlo, xhi, ylo, yhi)
  local ps, svg = PostScript.Open(W, H), SvgHead()
  ps = Axes(ps, svg, X, Y, xlo, xhi, ylo, yhi, options)
  for n, c in ipairs(curves) do
    local colour = colours[(n - 1) % #colours + 1]
    local px, py, points = {}, {}, {}
    for k = 1, #c.x do
      px[k], py[k] = X(c.x[k]), Y(c.y[k])
      points[k] = string.format("%.3f,%.3f", px[k], H - py[k])
    end
    ps = PostScript.Line(ps, px, py, 1.2, colour)
    svg[#svg + 1] = string.format('<polyline fill="none" stroke="rgb(%d,%d,%d)" stroke-width="1.2" points="%s"/>',
      colour[1], colour[2], colour[3], table.concat(points, " "))
  end
  svg[#svg + 1] = "</svg>\n"
  Write(name .. ".eps", PostScript.Close(ps))
  Write(name .. ".svg", table.concat(svg, "\n"))
  return name .. ".eps", name .. ".svg"
end

-- White through yellow and red to black, for v from 0 to 1.
local function Heat(v)
  v = math.max(0, math.min(1, v))
  if v < 1 / 3 then return 255, 255, math.floor(255 * (1 - 3 * v)) end
  if v < 2 / 3 then return 255, math.floor(255 * (2 - 3 * v)), 0 end
  return math.floor(255 * (3 - 3 * v)), 0, 0
end

function Plot.Map(S, name, options)
  options = options or {}
  local t = Spectra.ToTable(S)
  local nin, nout = #t, #t[1]
  local incoming = S.ResonantEnergy
  local xlo, xhi = incoming[1], incoming[nin]
  if not (xlo == xlo) or xlo == xhi then xlo, xhi = 1, nin end  -- not a resonant map: number the spectra
  local ylo, yhi = t[1][1][1], t[1][nout][1]
  -- At most 200 cells a side.
  local sx, sy = math.max(1, math.ceil(nin / 200)), math.max(1, math.ceil(nout / 200))
  local cells, peak = {}, 0
  for j = 1, nout, sy do
    local row = {}
    for i = 1, nin, sx do
      local v = -t[i][j][2].im / math.pi
      row[#row + 1] = v
      peak = math.max(peak, v)
    end
    table.insert(cells, 1, row)   -- the top row first
  end
  if peak <= 0 then peak = 1 end
  local X, Y = Frame(xlo, xhi, ylo, yhi)
  local ps, svg = PostScript.Open(W, H), SvgHead()
  local x0, y0, x1, y1 = X(xlo), Y(ylo), X(xhi), Y(yhi)
  -- A bitmap at (xmin, ymin) is scaled to xmax by ymax, and it leaves the
  -- origin at its corner: the picture moves back before the axes.
  ps = PostScript.Bitmap(ps, x0, y0, x1 - x0, y1 - y0, cells, function(v) return Heat(v / peak) end)
  ps = ps .. string.format("%f %f translate\n", -x0, -y0)
  local cw, ch = (x1 - x0) / #cells[1], (y1 - y0) / #cells
  for r, row in ipairs(cells) do
    for c, v in ipairs(row) do
      local red, green, blue = Heat(v / peak)
      svg[#svg + 1] = string.format('<rect x="%.2f" y="%.2f" width="%.2f" height="%.2f" fill="rgb(%d,%d,%d)"/>',
        x0 + (c - 1) * cw, H - y1 + (r - 1) * ch, cw + 0.05, ch + 0.05, red, green, blue)
    end
  end
  options.xlabel = options.xlabel or "Incoming energy (eV)"
  options.ylabel = options.ylabel or "Outgoing energy (eV)"
  ps = Axes(ps, svg, X, Y, xlo, xhi, ylo, yhi, options)
  svg[#svg + 1] = "</svg>\n"
  Write(name .. ".eps", PostScript.Close(ps))
  Write(name .. ".svg", table.concat(svg, "\n"))
  return name .. ".eps", name .. ".svg"
end

return Plot
