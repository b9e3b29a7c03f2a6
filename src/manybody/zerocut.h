// The tests for zero used throughout the many-body kernels.
#ifndef SKELDA_MANYBODY_ZEROCUT_H
#define SKELDA_MANYBODY_ZEROCUT_H

// Ten times the smallest normal double: a squared magnitude below it is zero.
const double ZeroCut = 2.2250738585072014e-307;
// Its square root, compared with magnitudes.
const double SqrtZeroCut = 4.717068855239662e-154;

#endif
