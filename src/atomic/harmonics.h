// Spherical, tesseral and cubic harmonics as closed forms in theta and phi.
//
// Y_l^m carries the Condon-Shortley phase: Y_1^1 = -sqrt(3/(8 pi)) sin(theta)
// exp(i phi).  The tesseral harmonics are the real combinations with positive
// sign, sine type for m < 0 and cosine type for m > 0:
//   Z_1^-1 = p_y, Z_1^0 = p_z, Z_1^1 = p_x,
//   Z_2^-2 = d_xy, Z_2^-1 = d_yz, Z_2^0 = d_3z2-r2, Z_2^1 = d_xz, Z_2^2 = d_x2-y2.
// The cubic harmonics are indexed by m = -l ... l as well but ordered by
// irreducible representation of the cube group, each set of partners in the
// order of its x, y, z components:
//   l=1  p_x, p_y, p_z
//   l=2  E (x2-y2, 3z2-r2), T2 (yz, xz, xy)
//   l=3  A2 (xyz), T1 (x(5x2-3r2), ...), T2 (x(y2-z2), y(z2-x2), z(x2-y2))
//   l=4  A1 (x4+y4+z4-3r4/5), E (x4-y4, 2z4-x4-y4), T1 (yz(y2-z2), ...),
//        T2 (yz(7x2-r2), ...)
//   l=5  E (xyz(x2-y2), xyz(2z2-x2-y2)), T1 (x5 type), T1 (x(y4-6y2z2+z4)),
//        T2 (x3(y2-z2) type)
//   l=6  A1 (x6+y6+z6), A2 ((x2-y2)(y2-z2)(z2-x2)), E (x6-y6, 2z6-x6-y6),
//        T1 (yz(y2-z2)x2 type), T2 (yzx4 type), T2 (yz(3y4-10y2z2+3z4))
// where a polynomial stands for its normalised part of momentum l, with a
// positive coefficient in front.  All functions are normalised to 1 on the
// unit sphere.  Arguments out of range (l beyond the limits below, |m| > l)
// give 0.
#ifndef SKELDA_ATOMIC_HARMONICS_H
#define SKELDA_ATOMIC_HARMONICS_H

#include "base/complex16.h"

// 0 <= l <= 12.
double ReSphericalHarmonicY(int l, int m, double theta, double phi);
double ImSphericalHarmonicY(int l, int m, double theta, double phi);
// 0 <= l <= 11.
double TesseralHarmonicZ(int l, int m, double theta, double phi);
// 0 <= l <= 6.
double CubicHarmonicK(int l, int m, double theta, double phi);

// The cubic harmonics of momentum l (0 <= l <= 6) on the spherical ones:
// out[(m+l)*(2l+1) + (m'+l)] is the coefficient of Y_l^m' in the cubic
// harmonic m.  Returns 1 (out untouched) for l out of range.
int CubicHarmonicCoefficients(int l, Complex16* out);

#endif
