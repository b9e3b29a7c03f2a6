-- 3j symbols, Slater coefficients and harmonics through the table math:
-- closed forms, sum rules and the error texts.
local check = require "check"

check.near(ThreeJ({1, 0}, {1, 0}, {2, 0}), math.sqrt(2 / 15), 1e-15, "(1 1 2; 0 0 0)")
check.near(math.ThreeJSymbol({0.5, 0.5}, {0.5, -0.5}, {1, 0}), 1 / math.sqrt(6), 1e-15, "(1/2 1/2 1; 1/2 -1/2 0)")
check.eq(ThreeJ({1, 1}, {1, 1}, {2, 0}), 0, "m1 + m2 + m3 not 0")
check.eq(ThreeJ({1, 0}, {1, 0}, {3, 0}), 0, "triangle broken")

-- Orthogonality: sum over m1, m2 of (2 j3 + 1) (j1 j2 j3; m1 m2 -m3)^2 = 1
-- for every j3 of the triangle, with integer and half-integer momenta.
for _, j in ipairs({{1, 2}, {1.5, 0.5}, {2.5, 1.5}}) do
  local j1, j2 = j[1], j[2]
  for j3 = math.abs(j1 - j2), j1 + j2 do
    for m3 = -j3, j3 do
      local s = 0
      for m1 = -j1, j1 do
        for m2 = -j2, j2 do s = s + (2 * j3 + 1) * ThreeJ({j1, m1}, {j2, m2}, {j3, -m3}) ^ 2 end
      end
      check.near(s, 1, 1e-13, string.format("orthogonality j1=%g j2=%g j3=%g m3=%g", j1, j2, j3, m3))
    end
  end
end

local form3j = "math.ThreeJSymbol expects 6 parameters grouped in 3 lists of length 2:\n{l1,m1}, {l2,m2}, {l3,m3}"
check.fails(form3j, ThreeJ, {1, 0}, {1, 0})
check.fails(form3j, ThreeJ, {1, 0}, {1, 0}, {2})
check.fails(form3j, ThreeJSymbol, {1, 0}, {1, 0}, 2)
check.fails("ThreeJSymbol expects 6 angular momentum as input that need to be integer or half integer values",
  ThreeJ, {0.25, 0}, {1, 0}, {1, 0})

-- c^k(l1 m1, l2 m2): c^2(p0, p0) = 2/5; zero when k < |m1 - m2|; and the
-- sum rule sum_m1 c^k(l m1, l m2)^2 = (2l+1) (l k l; 0 0 0)^2, which is 2/7
-- for k = 2 in a d shell.
check.near(SlaterCoefficientC(2, {1, 0}, {1, 0}), 0.4, 1e-15, "c^2(p0,p0)")
check.near(SlaterCoefficientC(2, {1, 1}, {1, 1}), -0.2, 1e-15, "c^2(p1,p1)")
check.eq(SlaterCoefficientC(1, {2, 2}, {2, -1}), 0, "k below |m1-m2|")
for m2 = -2, 2 do
  local s = 0
  for m1 = -2, 2 do s = s + SlaterCoefficientC(2, {2, m1}, {2, m2}) ^ 2 end
  check.near(s, 2 / 7, 1e-15, "sum rule of c^2 in a d shell")
end
check.fails("math.SlaterCoefficientC expects 5 parameters grouped in one integer and 2 lists of length 2:\nk, {l1,m1}, {l2,m2}",
  SlaterCoefficientC, 2, {1, 0})
check.fails("math.SlaterCoefficientC expects 6 parameters grouped in 3 lists of length 2:\n{l1,m1}, {l2,m2}, {l3,m3}",
  SlaterCoefficientC, 2, {1, 0, 1}, {1, 0})
check.fails("math.SlaterCoefficientC expects 6 angular momentum as input that need to be integer values",
  SlaterCoefficientC, 2, {0.5, 0.5}, {0.5, 0.5})

-- Harmonics at a direction.
local theta, phi = 0.7, 1.9
local function isComplex(z) return getmetatable(z) == getmetatable(I) end
local y00 = SphericalHarmonicY(0, 0, theta, phi)
check.truthy(isComplex(y00), "Y is complex")
check.near(y00.re, 1 / math.sqrt(4 * pi), 1e-15, "Y00")
local y11 = SphericalHarmonicY(1, 1, theta, phi)
local a = -math.sqrt(3 / (8 * pi)) * math.sin(theta)
check.near(y11.re, a * math.cos(phi), 1e-15, "Re Y11 with the Condon-Shortley phase")
check.near(y11.im, a * math.sin(phi), 1e-15, "Im Y11")
local c10 = SphericalHarmonicC(1, 0, theta, phi)
check.near(c10.re, math.cos(theta), 1e-15, "C10 = cos theta")
check.near(TesseralHarmonicZ(1, 1, theta, phi), math.sqrt(3 / (4 * pi)) * math.sin(theta) * math.cos(phi), 1e-15, "Z11 = p_x")
check.near(TesseralHarmonicZ(1, -1, theta, phi), math.sqrt(3 / (4 * pi)) * math.sin(theta) * math.sin(phi), 1e-15, "Z1-1 = p_y")
check.near(TesseralHarmonicD(2, 0, theta, phi), (3 * math.cos(theta) ^ 2 - 1) / 2, 1e-15, "D20")
check.near(KubicHarmonicK(1, -1, theta, phi), math.sqrt(3 / (4 * pi)) * math.sin(theta) * math.cos(phi), 1e-15, "K1-1 = p_x")
check.near(KubicHarmonicE(0, 0, theta, phi), 1, 1e-15, "E00")
-- Addition theorem: sum over m of |Y_lm|^2, of Z_lm^2 and of K_lm^2 is (2l+1)/(4 pi).
for _, case in ipairs({{SphericalHarmonicY, 12}, {TesseralHarmonicZ, 11}, {KubicHarmonicK, 6}}) do
  local f, l = case[1], case[2]
  local s = 0
  for m = -l, l do
    local v = f(l, m, theta, phi)
    s = s + (isComplex(v) and (v.re ^ 2 + v.im ^ 2) or v ^ 2)
  end
  check.near(s, (2 * l + 1) / (4 * pi), 1e-13, "addition theorem at l = " .. l)
end

local countY = "math.SphericalHarmonicsY expects 4 parameters l,m,theta,phi"
check.fails(countY, SphericalHarmonicY, 1, 0, 0)
check.fails("math.SphericalHarmonicsC expects 4 parameters l,m,theta,phi", SphericalHarmonicC, 1, 0, 0)
for _, f in ipairs({TesseralHarmonicZ, TesseralHarmonicD, KubicHarmonicK, KubicHarmonicE}) do
  check.fails(countY, f, 1, 0, 0, 0, 0)
end
check.fails("Spherical Harmonics only implemented for 0<=l<=12 l=13", SphericalHarmonicY, 13, 0, 0, 0)
check.fails("Spherical Harmonics only implemented for 0<=l<=12 l=-1", SphericalHarmonicC, -1, 0, 0, 0)
check.fails("Spherical Harmonics only implemented for 0<l<12 l=12", TesseralHarmonicZ, 12, 0, 0, 0)
check.fails("Spherical Harmonics only implemented for 0<=l<=6 l=7", KubicHarmonicK, 7, 0, 0, 0)
check.fails("Spherical Harmonics only implemented for 0<=l<=6 l=7", KubicHarmonicE, 7, 0, 0, 0)
check.fails("Spherical Harmonics only defined for -l<m<l l=2 m=3", SphericalHarmonicY, 2, 3, 0, 0)
check.fails("Spherical Harmonics only defined for -l<m<l l=2 m=-3", TesseralHarmonicD, 2, -3, 0, 0)
check.fails("Spherical Harmonics only defined for -l<m<l l=1 m=2", KubicHarmonicK, 1, 2, 0, 0)
