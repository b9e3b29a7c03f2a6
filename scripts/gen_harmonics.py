#!/usr/bin/env python3
"""Writes the closed forms of the spherical, tesseral and cubic harmonics.

    python3 scripts/gen_harmonics.py src/atomic

produces harmonics_spherical.cpp, harmonics_tesseral.cpp and
harmonics_cubic.cpp in the given folder.  Everything is computed in exact
rational arithmetic; only the final constants are rounded to doubles.

A function on the sphere is held as a Laurent polynomial in z = exp(i theta)
and w = exp(i phi): a dict {(k, m): complex rational}.  Each harmonic is a
normalisation sqrt(q / pi) with q rational times such a polynomial with
rational coefficients, and is written out as one constant times a sum of
products cos/sin(k theta) cos/sin(m phi) with integer coefficients.

Cubic harmonics are given as Cartesian polynomials (one per row, rows ordered
by irreducible representation of the cube group), projected on the shell l
and normalised.  For l <= 3 the rows reproduce the fixed tables of the basis
matrices; the script checks that.
"""

import math
import sys
from fractions import Fraction as F

import mpmath

mpmath.mp.dps = 40


# ------------------------------------------------------------ gaussian rationals
class G:
    """Complex rational a + i b."""

    __slots__ = ("re", "im")

    def __init__(self, re=0, im=0):
        self.re = F(re)
        self.im = F(im)

    def __add__(self, o):
        o = g(o)
        return G(self.re + o.re, self.im + o.im)

    __radd__ = __add__

    def __sub__(self, o):
        o = g(o)
        return G(self.re - o.re, self.im - o.im)

    def __neg__(self):
        return G(-self.re, -self.im)

    def __mul__(self, o):
        o = g(o)
        return G(self.re * o.re - self.im * o.im, self.re * o.im + self.im * o.re)

    __rmul__ = __mul__

    def conj(self):
        return G(self.re, -self.im)

    def iszero(self):
        return self.re == 0 and self.im == 0

    def __repr__(self):
        return f"({self.re}+{self.im}i)"


def g(x):
    return x if isinstance(x, G) else G(x)


# ------------------------------------------------------------ Laurent polynomials
def padd(a, b, s=1):
    r = dict(a)
    for key, c in b.items():
        r[key] = r.get(key, G()) + g(s) * c
    return {k: v for k, v in r.items() if not v.iszero()}


def pmul(a, b):
    r = {}
    for (k1, m1), c1 in a.items():
        for (k2, m2), c2 in b.items():
            key = (k1 + k2, m1 + m2)
            r[key] = r.get(key, G()) + c1 * c2
    return {k: v for k, v in r.items() if not v.iszero()}


def pscale(a, s):
    return {k: v * s for k, v in a.items() if not (v * s).iszero()}


def ppow(a, n):
    r = {(0, 0): G(1)}
    for _ in range(n):
        r = pmul(r, a)
    return r


ONE = {(0, 0): G(1)}
COS_T = {(1, 0): G(F(1, 2)), (-1, 0): G(F(1, 2))}
SIN_T = {(1, 0): G(0, F(-1, 2)), (-1, 0): G(0, F(1, 2))}  # (z - 1/z)/(2i)
COS_P = {(0, 1): G(F(1, 2)), (0, -1): G(F(1, 2))}
SIN_P = {(0, 1): G(0, F(-1, 2)), (0, -1): G(0, F(1, 2))}
X = pmul(SIN_T, COS_P)
Y = pmul(SIN_T, SIN_P)
Z = COS_T


def poly_xyz(terms):
    """terms: list of (coefficient, a, b, c) for coefficient x^a y^b z^c."""
    r = {}
    for c, a, b, cz in terms:
        t = pmul(pmul(ppow(X, a), ppow(Y, b)), ppow(Z, cz))
        r = padd(r, pscale(t, G(F(c))))
    return r


# ------------------------------------------------------------ Legendre functions
def legendre_coeffs(l):
    """Coefficients (index = power) of the Legendre polynomial P_l."""
    # Rodrigues: P_l = 1/(2^l l!) d^l/dx^l (x^2-1)^l
    c = [F(0)] * (2 * l + 1)
    for k in range(l + 1):
        c[2 * k] = F(math.comb(l, k) * (-1) ** (l - k))
    for _ in range(l):
        c = [c[i] * i for i in range(1, len(c))]
    return [x / (2**l * math.factorial(l)) for x in c]


def assoc_theta_poly(l, m):
    """(-1)^m sin^m(theta) d^m P_l/dx^m at x = cos theta: the theta part of
    Y_l^m without its normalisation, Condon-Shortley phase included."""
    c = legendre_coeffs(l)
    for _ in range(m):
        c = [c[i] * i for i in range(1, len(c))]
    r = {}
    for p, cp in enumerate(c):
        if cp != 0:
            r = padd(r, pscale(ppow(COS_T, p), G(cp)))
    return pscale(pmul(r, ppow(SIN_T, m)), G((-1) ** m))


def norm_q(l, m):
    """Y_l^m = sqrt(q/pi) * assoc_theta_poly(l, |m|) * exp(i m phi)."""
    m = abs(m)
    return F(2 * l + 1, 4) * F(math.factorial(l - m), math.factorial(l + m))


def ylm_poly(l, m):
    """Y_l^m / sqrt(q/pi) as a Laurent polynomial, for any sign of m."""
    p = assoc_theta_poly(l, abs(m))
    if m < 0:
        p = pscale(p, G(-1 if m % 2 else 1))
    return {(k, mm + m): c for (k, mm), c in p.items()}


# ------------------------------------------------------------ integrals
def sin_theta_integral(n):
    """Integral over theta from 0 to pi of exp(i n theta) sin(theta); the
    parts with |n| = 1 carry pi and must cancel in every use here."""
    if abs(n) == 1:
        return None
    return G(F(2 if n % 2 == 0 else 0, 1 - n * n))


def inner(a, b):
    """Integral of conj(a) b over the sphere, divided by 2 pi."""
    total = G()
    odd = G()
    for (k1, m1), c1 in a.items():
        for (k2, m2), c2 in b.items():
            if m1 != m2:
                continue
            n = k2 - k1
            v = sin_theta_integral(n)
            if v is None:
                odd = odd + c1.conj() * c2 * G(n)
            else:
                total = total + c1.conj() * c2 * v
    assert odd.iszero(), "odd part of the theta integral does not cancel"
    return total


# ------------------------------------------------------------ real trig form
def real_trig_terms(p):
    """A real Laurent polynomial as {(tt, k, tp, m): rational} with tt, tp in
    'c', 's' for cos and sin, k, m >= 0."""
    r = {}

    def add(key, v):
        if v != 0:
            r[key] = r.get(key, F(0)) + v

    for (k, m), c in p.items():
        sk = (k > 0) - (k < 0)
        sm = (m > 0) - (m < 0)
        ak, am = abs(k), abs(m)
        # c (cos kt + i sk sin kt)(cos mp + i sm sin mp), real part kept
        add(("c", ak, "c", am), c.re)
        if am:
            add(("c", ak, "s", am), -c.im * sm)
        if ak:
            add(("s", ak, "c", am), -c.im * sk)
        if ak and am:
            add(("s", ak, "s", am), -c.re * sk * sm)
    # the imaginary part must vanish for a real function: check numerically
    for t, ph in ((0.3, 1.1), (1.7, -2.2), (2.9, 0.4)):
        v = sum(complex(float(c.re), float(c.im)) * complex(math.cos(k * t + m * ph), math.sin(k * t + m * ph))
                for (k, m), c in p.items())
        assert abs(v.imag) < 1e-9 * max(1.0, abs(v.real)), "function is not real"
    return {k: v for k, v in r.items() if v != 0}


def content(values):
    """The positive rational q with values/q coprime integers."""
    nums = [abs(v.numerator) for v in values]
    dens = [v.denominator for v in values]
    gn = 0
    for n in nums:
        gn = math.gcd(gn, n)
    ld = 1
    for d in dens:
        ld = ld * d // math.gcd(ld, d)
    return F(gn, ld)


def cnum(x):
    s = repr(float(x))
    if "e" not in s and "." not in s:
        s += ".0"
    return s


def trig_text(t, k, var):
    if k == 0:
        return None
    fn = "std::cos" if t == "c" else "std::sin"
    return f"{fn}({k}.0 * {var})" if k != 1 else f"{fn}({var})"


def closed_form(terms, q, extra_sign=1):
    """terms: {(tt,k,tp,m): rational}; value = sqrt(q/pi) * sum.  Returns C++
    text of one constant times integers times trig products."""
    keys = sorted(terms, key=lambda key: (key[3], key[2], key[1], key[0]))
    vals = [terms[k] for k in keys]
    cq = content(vals)
    # sign: the first term of the sum positive
    if vals[0] < 0:
        cq = -cq
    const = mpmath.sqrt(mpmath.mpf(q.numerator) / q.denominator / mpmath.pi) * \
        mpmath.mpf(cq.numerator) / cq.denominator * extra_sign
    parts = []
    for key, v in zip(keys, vals):
        n = v / cq
        assert n.denominator == 1
        n = n.numerator
        factors = [f for f in (trig_text(key[0], key[1], "theta"), trig_text(key[2], key[3], "phi")) if f]
        body = " * ".join(factors)
        if not parts:
            sign = "-" if n < 0 else ""
        else:
            sign = " - " if n < 0 else " + "
        a = abs(n)
        if body and a == 1:
            parts.append(f"{sign}{body}")
        elif body:
            parts.append(f"{sign}{a}.0 * {body}")
        else:
            parts.append(f"{sign}{a}.0")
    if len(parts) == 1 and parts[0] in ("1.0",):
        return cnum(const)
    if len(parts) == 1 and not parts[0].startswith("-"):
        return f"{cnum(const)} * {parts[0]}"
    return f"{cnum(const)} * ({''.join(parts)})"


# ------------------------------------------------------------ cubic harmonics
def perm(poly, order):
    """Renames the variables of a term list: order gives the new variable of
    (x, y, z), e.g. (1, 2, 0) sends x to y, y to z, z to x."""
    out = []
    for c, *pw in poly:
        npw = [0, 0, 0]
        for var, p in enumerate(pw):
            npw[order[var]] += p
        out.append((c, *npw))
    return out


def mul_terms(a, b):
    return [(ca * cb, a1 + b1, a2 + b2, a3 + b3) for ca, a1, a2, a3 in a for cb, b1, b2, b3 in b]


R2 = [(1, 2, 0, 0), (1, 0, 2, 0), (1, 0, 0, 2)]


def vector_rows(zcomp):
    """The x, y, z components of a vector-like set, from its z component:
    x component = z component with (x, y, z) -> (y, z, x)."""
    xcomp = perm(zcomp, (1, 2, 0))
    ycomp = perm(zcomp, (2, 0, 1))
    return [xcomp, ycomp, zcomp]


def cubic_polys(l):
    if l == 0:
        return [[(1, 0, 0, 0)]]
    if l == 1:
        return [[(1, 1, 0, 0)], [(1, 0, 1, 0)], [(1, 0, 0, 1)]]
    if l == 2:
        return [[(1, 2, 0, 0), (-1, 0, 2, 0)],
                [(2, 0, 0, 2), (-1, 2, 0, 0), (-1, 0, 2, 0)],
                [(1, 0, 1, 1)], [(1, 1, 0, 1)], [(1, 1, 1, 0)]]
    if l == 3:
        rows = [[(1, 1, 1, 1)]]
        rows += vector_rows([(5, 0, 0, 3)] + [(-3 * c, a, b, cz + 1) for c, a, b, cz in R2])
        rows += vector_rows([(1, 2, 0, 1), (-1, 0, 2, 1)])
        return rows
    if l == 4:
        rows = [[(1, 4, 0, 0), (1, 0, 4, 0), (1, 0, 0, 4)]]                       # A1
        rows += [[(1, 4, 0, 0), (-1, 0, 4, 0)],                                   # E
                 [(2, 0, 0, 4), (-1, 4, 0, 0), (-1, 0, 4, 0)]]
        rows += vector_rows([(1, 3, 1, 0), (-1, 1, 3, 0)])                        # T1
        rows += vector_rows(mul_terms([(1, 1, 1, 0)],
                                      [(6, 0, 0, 2), (-1, 2, 0, 0), (-1, 0, 2, 0)]))  # T2
        return rows
    if l == 5:
        rows = [mul_terms([(1, 1, 1, 1)], [(1, 2, 0, 0), (-1, 0, 2, 0)]),         # E
                mul_terms([(1, 1, 1, 1)], [(2, 0, 0, 2), (-1, 2, 0, 0), (-1, 0, 2, 0)])]
        rows += vector_rows([(1, 0, 0, 5)])                                       # T1, z^5 type
        rows += vector_rows(mul_terms([(1, 0, 0, 1)],
                                      [(1, 4, 0, 0), (-6, 2, 2, 0), (1, 0, 4, 0)]))  # T1, m=4 type
        rows += vector_rows(mul_terms([(1, 0, 0, 3)], [(1, 2, 0, 0), (-1, 0, 2, 0)]))  # T2
        return rows
    if l == 6:
        rows = [[(1, 6, 0, 0), (1, 0, 6, 0), (1, 0, 0, 6)]]                       # A1
        a2 = mul_terms(mul_terms([(1, 2, 0, 0), (-1, 0, 2, 0)], [(1, 0, 2, 0), (-1, 0, 0, 2)]),
                       [(1, 0, 0, 2), (-1, 2, 0, 0)])
        rows += [a2]                                                              # A2
        rows += [[(1, 6, 0, 0), (-1, 0, 6, 0)],                                   # E
                 [(2, 0, 0, 6), (-1, 6, 0, 0), (-1, 0, 6, 0)]]
        rows += vector_rows([(1, 3, 1, 2), (-1, 1, 3, 2)])                        # T1
        rows += vector_rows([(1, 1, 1, 4)])                                       # T2, m=2 type
        rows += vector_rows([(3, 5, 1, 0), (-10, 3, 3, 0), (3, 1, 5, 0)])         # T2, m=6 type
        return rows
    raise ValueError(l)


def cubic_rows(l):
    """Per row: (R_m list, S, laurent K/sqrt(1/(pi S)))."""
    out = []
    ys = [ylm_poly(l, m) for m in range(-l, l + 1)]
    qs = [norm_q(l, m) for m in range(-l, l + 1)]
    earlier = []
    for terms in cubic_polys(l):
        p = poly_xyz(terms)
        R = [inner(y, p) for y in ys]
        # <Y_m, p> = sqrt(q_m/pi) 2 pi R_m;  K = sum_m (2 q_m R_m / norm) Y_m/sqrt(q_m/pi) ...
        S = sum(((r.re * r.re + r.im * r.im) * q for r, q in zip(R, qs)), F(0))
        assert S != 0, f"cubic row of l={l} has no component in the shell"
        lp = {}
        for y, r, q in zip(ys, R, qs):
            lp = padd(lp, pscale(y, r * G(q)))
        for e in earlier:
            assert inner(e, lp).iszero(), f"cubic rows of l={l} not orthogonal"
        earlier.append(lp)
        out.append((R, S, lp))
    return out


def cubic_matrix_numeric(l):
    rows = []
    qs = [norm_q(l, m) for m in range(-l, l + 1)]
    for R, S, _ in cubic_rows(l):
        rows.append([complex(float(r.re), float(r.im)) * math.sqrt(float(q / S)) for r, q in zip(R, qs)])
    return rows


# ------------------------------------------------------------ fixed tables check
def fixed_k_table(l):
    a = 0.7071067811865475
    b = 0.5590169943749475
    c = 0.4330127018922193
    n = 2 * l + 1
    M = [[0j] * n for _ in range(n)]
    if l == 0:
        M[0][0] = 1
    if l == 1:
        M[0][0], M[0][2] = a, -a
        M[1][0], M[1][2] = 1j * a, 1j * a
        M[2][1] = 1
    if l == 2:
        M[0][0], M[0][4] = a, a
        M[1][2] = 1
        M[2][1], M[2][3] = 1j * a, 1j * a
        M[3][1], M[3][3] = a, -a
        M[4][0], M[4][4] = 1j * a, -1j * a
    if l == 3:
        M[0][1], M[0][5] = 1j * a, -1j * a
        M[1][0], M[1][2], M[1][4], M[1][6] = b, -c, c, -b
        M[2][0], M[2][2], M[2][4], M[2][6] = -1j * b, -1j * c, -1j * c, -1j * b
        M[3][3] = 1
        M[4][0], M[4][2], M[4][4], M[4][6] = -c, -b, b, c
        M[5][0], M[5][2], M[5][4], M[5][6] = -1j * c, 1j * b, 1j * b, -1j * c
        M[6][1], M[6][5] = a, a
    return M


# ------------------------------------------------------------ writers
HEADER = """// Generated by scripts/gen_harmonics.py: closed forms in exact arithmetic,
// constants rounded to double.  Edit the script, not this file.
"""


def write_spherical(path):
    lines = [HEADER, '#include "atomic/harmonics.h"', "", "#include <cmath>", "", "namespace {", "",
             "// The theta part f of Y_l^m = f(theta) exp(i m phi) for 0 <= m <= l,",
             "// Condon-Shortley phase included.",
             "double SphericalThetaPart(int l, int m, double theta) {",
             "    switch (l * 16 + m) {"]
    for l in range(0, 13):
        for m in range(0, l + 1):
            t = real_trig_terms(assoc_theta_poly(l, m))
            lines.append(f"    case {l * 16 + m}:  // l={l} m={m}")
            lines.append(f"        return {closed_form(t, norm_q(l, m))};")
    lines += ["    default:", "        return 0.0;", "    }", "}", "", "}  // namespace", "",
              "double ReSphericalHarmonicY(int l, int m, double theta, double phi) {",
              "    if (l < 0 || l > 12 || m < -l || m > l) return 0.0;",
              "    double f = SphericalThetaPart(l, m < 0 ? -m : m, theta);",
              "    if (m < 0 && (m & 1)) f = -f;",
              "    return f * std::cos(m * phi);",
              "}", "",
              "double ImSphericalHarmonicY(int l, int m, double theta, double phi) {",
              "    if (l < 0 || l > 12 || m < -l || m > l) return 0.0;",
              "    double f = SphericalThetaPart(l, m < 0 ? -m : m, theta);",
              "    if (m < 0 && (m & 1)) f = -f;",
              "    return f * std::sin(m * phi);",
              "}", ""]
    with open(path, "w") as fh:
        fh.write("\n".join(lines))


def write_tesseral(path):
    lines = [HEADER, '#include "atomic/harmonics.h"', "", "#include <cmath>", "", "namespace {", "",
             "// The theta part of Z_l^m for 0 <= m <= l: Z_l^m is this times cos(m phi),",
             "// Z_l^-m this times sin(m phi).",
             "double TesseralThetaPart(int l, int m, double theta) {",
             "    switch (l * 16 + m) {"]
    for l in range(0, 12):
        for m in range(0, l + 1):
            t = real_trig_terms(assoc_theta_poly(l, m))
            q = norm_q(l, m) * (2 if m else 1)
            lines.append(f"    case {l * 16 + m}:  // l={l} m={m}")
            lines.append(f"        return {closed_form(t, q, (-1) ** m)};")
    lines += ["    default:", "        return 0.0;", "    }", "}", "", "}  // namespace", "",
              "double TesseralHarmonicZ(int l, int m, double theta, double phi) {",
              "    if (l < 0 || l > 11 || m < -l || m > l) return 0.0;",
              "    if (m < 0) return TesseralThetaPart(l, -m, theta) * std::sin(-m * phi);",
              "    if (m > 0) return TesseralThetaPart(l, m, theta) * std::cos(m * phi);",
              "    return TesseralThetaPart(l, 0, theta);",
              "}", ""]
    with open(path, "w") as fh:
        fh.write("\n".join(lines))


def write_cubic(path):
    lines = [HEADER, '#include "atomic/harmonics.h"', "", "#include <cmath>", "",
             "double CubicHarmonicK(int l, int m, double theta, double phi) {",
             "    if (l < 0 || l > 6 || m < -l || m > l) return 0.0;",
             "    switch (l * 16 + m + l) {"]
    table = []
    for l in range(0, 7):
        rows = cubic_rows(l)
        if l <= 3:
            num = cubic_matrix_numeric(l)
            fixed = fixed_k_table(l)
            for i in range(2 * l + 1):
                for j in range(2 * l + 1):
                    assert abs(num[i][j] - fixed[i][j]) < 1e-15, f"cubic row mismatch l={l} {i} {j}"
        for i, (R, S, lp) in enumerate(rows):
            t = real_trig_terms(lp)
            # K = lp / sqrt(pi S)
            lines.append(f"    case {l * 16 + i}:  // l={l} row {i}")
            lines.append(f"        return {closed_form(t, 1 / S)};")
        qs = [norm_q(l, m) for m in range(-l, l + 1)]
        for i, (R, S, _) in enumerate(rows):
            for j, (r, q) in enumerate(zip(R, qs)):
                if not r.iszero():
                    f = mpmath.sqrt(mpmath.mpf(q.numerator) * S.denominator / (q.denominator * S.numerator))
                    re = f * r.re.numerator / r.re.denominator
                    im = f * r.im.numerator / r.im.denominator
                    table.append((l, i, j, cnum(re), cnum(im)))
    lines += ["    default:", "        return 0.0;", "    }", "}", ""]
    lines += ["namespace {", "",
              "struct CubicEntry {", "    int l, row, col;", "    double re, im;", "};", "",
              "// Non-zero entries of the rows of the cubic harmonics on Y_l^m, m ascending.",
              "const CubicEntry kCubicEntries[] = {"]
    for l, i, j, re, im in table:
        lines.append(f"    {{{l}, {i}, {j}, {re}, {im}}},")
    lines += ["};", "", "}  // namespace", "",
              "int CubicHarmonicCoefficients(int l, Complex16* out) {",
              "    if (l < 0 || l > 6) return 1;",
              "    int n = 2 * l + 1;",
              "    for (int k = 0; k < n * n; k++) out[k] = Complex16{0.0, 0.0};",
              "    for (const CubicEntry& e : kCubicEntries) {",
              "        if (e.l == l) out[e.row * n + e.col] = Complex16{e.re, e.im};",
              "    }",
              "    return 0;",
              "}", ""]
    with open(path, "w") as fh:
        fh.write("\n".join(lines))


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "src/atomic"
    write_spherical(f"{out}/harmonics_spherical.cpp")
    write_tesseral(f"{out}/harmonics_tesseral.cpp")
    write_cubic(f"{out}/harmonics_cubic.cpp")


if __name__ == "__main__":
    main()
