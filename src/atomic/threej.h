// Wigner 3j symbols and the Slater angular coefficients c^k built from them.
#ifndef SKELDA_ATOMIC_THREEJ_H
#define SKELDA_ATOMIC_THREEJ_H

// (j1 j2 j3; m1 m2 m3) for integer momenta by the Racah single-sum formula.
// Zero when m1+m2+m3 != 0, when the triangle rule fails or when some |mi|
// exceeds ji.  Factorials are fresh products of doubles, so the symbol is
// good as long as the factorials stay within double precision (j up to
// about 80).
double ThreeJSymbol(int j1, int m1, int j2, int m2, int j3, int m3);

// The same symbol with every argument doubled (tj1 = 2 j1, tm1 = 2 m1, ...),
// for half-integer momenta.  The parities of the doubled arguments must fit
// (tj and tm of one column both odd or both even, tj1+tj2+tj3 even).
double ThreeJSymbolHalf(int tj1, int tm1, int tj2, int tm2, int tj3, int tm3);

// The symbol of momenta given as numbers jm = {j1, m1, j2, m2, j3, m3}:
// ThreeJSymbol when all six are whole numbers, ThreeJSymbolHalf when all
// doubled values are, each up to a relative rounding of 2.2e-15.  Returns
// 0 with the value, or 1 (value untouched) for any other numbers.
int ThreeJSymbolOfNumbers(const double jm[6], double* value);

// c^k(l1 m1, l2 m2) = (-1)^m1 sqrt((2l1+1)(2l2+1)) (l1 k l2; 0 0 0)
// (l1 k l2; -m1, m1-m2, m2), the matrix element <l1 m1| C^k_q |l2 m2> of the
// Racah-normalised spherical tensor.  0 when k < |m1-m2|.
double SlaterCoefficientC(int k, int l1, int m1, int l2, int m2);

// The same coefficient between states |l j m> of jj coupling, with j and m
// given doubled (tj = 2j, tm = 2m, both odd).
double SlaterCoefficientCjcoupling(int k, int l1, int tj1, int tm1, int l2, int tj2, int tm2);

#endif
