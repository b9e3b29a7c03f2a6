// The fixed tables of the Y to Z, Y to K and Y to jjz matrices for the shells
// in everyday use.
#include <cstdint>
#include <cstdio>

#include "atomic/basis.h"
#include "atomic/orbitals.h"

namespace {

// 1/sqrt(2), sqrt(5/16) and sqrt(3/16) as the tables give them.
const double kA = 0.7071067811865475;
const double kB = 0.5590169943749475;
const double kC = 0.4330127018922193;

struct TableEntry {
    int row, col;
    double re, im;
};

BasisMatrixType FromEntries(int n, const TableEntry* e, int count) {
    BasisMatrixType M = InitBasisMatrix(n, n);
    for (int k = 0; k < count; k++) BasisMatrixAt(M, e[k].row, e[k].col) = Complex16{e[k].re, e[k].im};
    return M;
}

template <int N>
BasisMatrixType FromTable(int n, const TableEntry (&e)[N]) {
    return FromEntries(n, e, N);
}

const TableEntry kYToZ1[] = {
    {0, 0, 0, kA}, {0, 2, 0, kA},
    {1, 1, 1, 0},
    {2, 0, kA, 0}, {2, 2, -kA, 0}};
const TableEntry kYToZ2[] = {
    {0, 0, 0, kA}, {0, 4, 0, -kA},
    {1, 1, 0, kA}, {1, 3, 0, kA},
    {2, 2, 1, 0},
    {3, 1, kA, 0}, {3, 3, -kA, 0},
    {4, 0, kA, 0}, {4, 4, kA, 0}};

const TableEntry kYToK1[] = {
    {0, 0, kA, 0}, {0, 2, -kA, 0},
    {1, 0, 0, kA}, {1, 2, 0, kA},
    {2, 1, 1, 0}};
const TableEntry kYToK2[] = {
    {0, 0, kA, 0}, {0, 4, kA, 0},
    {1, 2, 1, 0},
    {2, 1, 0, kA}, {2, 3, 0, kA},
    {3, 1, kA, 0}, {3, 3, -kA, 0},
    {4, 0, 0, kA}, {4, 4, 0, -kA}};
const TableEntry kYToK3[] = {
    {0, 1, 0, kA}, {0, 5, 0, -kA},
    {1, 0, kB, 0}, {1, 2, -kC, 0}, {1, 4, kC, 0}, {1, 6, -kB, 0},
    {2, 0, 0, -kB}, {2, 2, 0, -kC}, {2, 4, 0, -kC}, {2, 6, 0, -kB},
    {3, 3, 1, 0},
    {4, 0, -kC, 0}, {4, 2, -kB, 0}, {4, 4, kB, 0}, {4, 6, kC, 0},
    {5, 0, 0, -kC}, {5, 2, 0, kB}, {5, 4, 0, kB}, {5, 6, 0, -kC},
    {6, 1, kA, 0}, {6, 5, kA, 0}};

// p shell: sqrt(2/3) and 1/sqrt(3).
const double kPA = 0.816496580927726;
const double kPB = 0.5773502691896258;
const TableEntry kYToJJz1[] = {
    {0, 1, -kPA, 0}, {0, 2, kPB, 0},
    {1, 3, -kPB, 0}, {1, 4, kPA, 0},
    {2, 0, 1, 0},
    {3, 1, kPB, 0}, {3, 2, kPA, 0},
    {4, 3, kPA, 0}, {4, 4, kPB, 0},
    {5, 5, 1, 0}};
// d shell: 2/sqrt(5), 1/sqrt(5), sqrt(3/5), sqrt(2/5).
const double kDA = 0.8944271909999159;
const double kDB = 0.4472135954999579;
const double kDC = 0.7745966692414834;
const double kDD = 0.6324555320336759;
const TableEntry kYToJJz2[] = {
    {0, 1, -kDA, 0}, {0, 2, kDB, 0},
    {1, 3, -kDC, 0}, {1, 4, kDD, 0},
    {2, 5, -kDD, 0}, {2, 6, kDC, 0},
    {3, 7, -kDB, 0}, {3, 8, kDA, 0},
    {4, 0, 1, 0},
    {5, 1, kDB, 0}, {5, 2, kDA, 0},
    {6, 3, kDD, 0}, {6, 4, kDC, 0},
    {7, 5, kDC, 0}, {7, 6, kDD, 0},
    {8, 7, kDA, 0}, {8, 8, kDB, 0},
    {9, 9, 1, 0}};

// Reports a multiplicity without a table.  Returns the 1-by-1 zero matrix.
BasisMatrixType NoTable(const char* who, const char* rule, int multiplicity) {
    if (((int64_t)multiplicity - 2) % 4 != 0) {
        printf("%s only defined for multiplicity %s, with integer l, not for multiplicity %d.\n", who,
               rule, multiplicity);
    } else {
        printf("%s not yet implemented for an atomic shell of multiplicity %d, sorry!\n", who,
               multiplicity);
    }
    return InitBasisMatrix(1, 1);
}

BasisMatrixType WithSpin(BasisMatrixType M, bool addSpin) {
    return addSpin ? BasisMatrixEnlarge(M, 2) : M;
}

}  // namespace

BasisMatrixType YToZMatrix(int multiplicity, bool addSpin) {
    switch (multiplicity) {
    case 2: return WithSpin(BasisMatrixIdentity(1), addSpin);
    case 6: return WithSpin(FromTable(3, kYToZ1), addSpin);
    case 10: return WithSpin(FromTable(5, kYToZ2), addSpin);
    default: return NoTable("YToZMatrix", "(2*l+1)", multiplicity);
    }
}

BasisMatrixType YToKMatrix(int multiplicity, bool addSpin) {
    switch (multiplicity) {
    case 2: return WithSpin(BasisMatrixIdentity(1), addSpin);
    case 6: return WithSpin(FromTable(3, kYToK1), addSpin);
    case 10: return WithSpin(FromTable(5, kYToK2), addSpin);
    case 14: return WithSpin(FromTable(7, kYToK3), addSpin);
    default: return NoTable("YToKMatrix", "(2*l+1)", multiplicity);
    }
}

BasisMatrixType YToJJzMatrix(int multiplicity, bool addSpin) {
    if (!addSpin) {
        printf("YToJJzMatrix called with addSpin = false. Since spin is obligatory this request will "
               "be ignored.\n");
    }
    switch (multiplicity) {
    case 2: return BasisMatrixIdentity(2);
    case 6: return FromTable(6, kYToJJz1);
    case 10: return FromTable(10, kYToJJz2);
    default: return NoTable("YToJJzMatrix", "2*(2*l+1)", multiplicity);
    }
}

BasisMatrixType LargeRotationMatrix(const std::vector<int>& multiplicities, BasisMatrixFunction f,
                                    bool addSpin) {
    std::vector<BasisMatrixType> blocks;
    for (int m : multiplicities) blocks.push_back(f(m, addSpin));
    return BasisMatrixFlatten(blocks);
}

BasisMatrixType LargeRotationMatrix(const std::vector<std::string>& names, BasisMatrixFunction f,
                                    bool addSpin) {
    std::vector<int> multiplicities;
    for (const std::string& name : names) multiplicities.push_back(orbToMultiplicity(name));
    return LargeRotationMatrix(multiplicities, f, addSpin);
}
