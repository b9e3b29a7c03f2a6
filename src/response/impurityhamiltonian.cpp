// The one-particle Hamiltonians of block chains, stars and natural orbitals
// written as operators, so that a bath reaches the many-body solvers.  Every
// term is c^dagger(p) c(q), added in the normal order of the operators that
// scripts build (which for c^dagger c is the order of application, the
// annihilator first); a length stays real while every prefactor is.
#include <cstdio>
#include <cstdlib>

#include "manybody/operator_algebra.h"
#include "response/blockforms.h"

namespace {

// Where the sites of a form go among the modes.  Site 0 of the form is the
// impurity; bath site s (counted from 0) is placed by the layout.
struct ModeMap {
    uint32_t M;
    const uint16_t* impurity;  // null: modes 0..M-1
    uint32_t firstBath;
    uint32_t NBath;            // number of bath sites
    ImpurityBathLayout layout;

    uint32_t Impurity(uint32_t r) const { return impurity != nullptr ? impurity[r] : r; }
    uint32_t Bath(uint32_t s, uint32_t r) const {
        return layout == ImpurityBathOrbitalMajor ? firstBath + r * NBath + s : firstBath + s * M + r;
    }
    // Site 0 is the impurity, site s >= 1 bath site s-1.
    uint32_t Mode(uint32_t site, uint32_t r) const { return site == 0 ? Impurity(r) : Bath(site - 1, r); }
};

// Checks the layout and fixes the number of fermions; prints and returns 1
// when the modes don't fit.
int CheckModes(const ModeMap& map, uint32_t NImpurity, uint32_t* NF, const char* who) {
    for (uint32_t r = 0; r < map.M; r++) {
        const uint32_t m = map.Impurity(r);
        if (m >= NImpurity) {
            printf("%s: impurity mode %u is not one of the %u spin-orbitals of the impurity\n", who, m, NImpurity);
            return 1;
        }
        for (uint32_t q = 0; q < r; q++)
            if (map.Impurity(q) == m) {
                printf("%s: impurity mode %u given twice\n", who, m);
                return 1;
            }
    }
    if (map.NBath > 0 && map.firstBath < NImpurity) {
        printf("%s: the bath starts at mode %u, inside the %u spin-orbitals of the impurity\n", who, map.firstBath,
               NImpurity);
        return 1;
    }
    uint64_t needed = NImpurity;
    if (map.NBath > 0) {
        const uint64_t end = map.firstBath + static_cast<uint64_t>(map.NBath) * map.M;
        if (end > needed) needed = end;
    }
    if (needed > LaderModeMask + 1u) {
        printf("%s: %llu modes needed, more than an operator can hold\n", who, static_cast<unsigned long long>(needed));
        return 1;
    }
    if (*NF < needed) {
        printf("Warning in %s\n", who);
        printf("Function called with NFermion=%i, but total number of Fermions must be larger than %i\n",
               static_cast<int>(*NF), static_cast<int>(needed - 1));
        printf("Number of Fermions enlarged\n");
        *NF = static_cast<uint32_t>(needed);
    }
    return 0;
}

int BeginOperator(OperatorType* O, uint32_t NF, size_t terms, const char* who) {
    if (InitNamedOperator(O, "Impurity Hamiltonian") != 0) {
        printf("InitOperator failed in %s\n", who);
        return 1;
    }
    O->NF = NF;
    O->NB = 0;
    O->NWord = (NF + 7) / 8;
    unsigned int bits = 4;
    while (bits < 20 && (size_t{1} << bits) < terms) bits++;
    if (InitOperatorFixedLength(O, 2, bits) != 0) {
        printf("InitOperatorFixedLength failed in %s\n", who);
        FreeOperator(O);
        return 1;
    }
    return 0;
}

int AddHop(OperatorType* O, uint32_t p, uint32_t q, Complex16 v) {
    if (v.re == 0.0 && v.im == 0.0) return 0;
    const uint16_t codes[2] = {static_cast<uint16_t>(q), static_cast<uint16_t>(LaderCreation | p)};
    return OperatorAddLaderNormalOrder(O, codes, 2, v.re, v.im, QDetNotOrderedFcFaBcBa);
}

// a[r][c] c^dagger(site, r) c(site, c).
int AddSite(OperatorType* O, const ModeMap& map, uint32_t site, const CompactMatrixType& a) {
    for (uint32_t r = 0; r < map.M; r++)
        for (uint32_t c = 0; c < map.M; c++)
            if (AddHop(O, map.Mode(site, r), map.Mode(site, c), CompactMatrixElement(a, r, c)) != 0) return 1;
    return 0;
}

// b[r][c] c^dagger(i, r) c(j, c) and its conjugate term.
int AddCoupling(OperatorType* O, const ModeMap& map, uint32_t i, uint32_t j, const CompactMatrixType& b) {
    for (uint32_t r = 0; r < map.M; r++)
        for (uint32_t c = 0; c < map.M; c++) {
            const Complex16 v = CompactMatrixElement(b, r, c);
            if (AddHop(O, map.Mode(i, r), map.Mode(j, c), v) != 0 ||
                AddHop(O, map.Mode(j, c), map.Mode(i, r), Conjugate(v)) != 0)
                return 1;
        }
    return 0;
}

// Adds the sites first..first+N-1 of a chain T (site 1 of T at form site
// `first`) with their couplings.
int AddChain(OperatorType* O, const ModeMap& map, const BlockTriDiagonalMatrixType& T, uint32_t first) {
    for (uint32_t i = 1; i <= T.N; i++) {
        const uint32_t site = first + i - 1;
        if (AddSite(O, map, site, T.a[i]) != 0) return 1;
        if (i < T.N && AddCoupling(O, map, site, site + 1, T.b[i]) != 0) return 1;
    }
    return 0;
}

size_t TermEstimate(uint32_t sites, uint32_t M) { return size_t{3} * sites * M * M + 1; }

}  // namespace

int BlockTridiagonalMatrixToImpurityHamiltonian(OperatorType* O, BlockTriDiagonalMatrixType T, uint32_t NF,
                                               uint32_t NImpurity, const uint16_t* impurityModes,
                                               uint32_t firstBathMode, ImpurityBathLayout layout) {
    const char* who = "BlockTridiagonalMatrixToImpurityHamiltonian";
    const ModeMap map{T.M, impurityModes, firstBathMode, T.N > 1 ? T.N - 1 : 0, layout};
    if (CheckModes(map, NImpurity, &NF, who) != 0) return 1;
    if (BeginOperator(O, NF, TermEstimate(T.N, T.M), who) != 0) return 1;
    if (AddChain(O, map, T, 0) != 0) {
        printf("OperatorAddLaderNormalOrder failed in %s\n", who);
        FreeOperator(O);
        return 1;
    }
    OperatorRecountQComplex(O);
    return 0;
}

int BlockAndersonMatrixToImpurityHamiltonian(OperatorType* O, BlockAndersonMatrixType A, uint32_t NF,
                                            uint32_t NImpurity, const uint16_t* impurityModes,
                                            uint32_t firstBathMode, ImpurityBathLayout layout) {
    const char* who = "BlockAndersonMatrixToImpurityHamiltonian";
    const ModeMap map{A.M, impurityModes, firstBathMode, A.N > 1 ? A.N - 1 : 0, layout};
    if (CheckModes(map, NImpurity, &NF, who) != 0) return 1;
    if (BeginOperator(O, NF, TermEstimate(A.N, A.M), who) != 0) return 1;
    int fail = 0;
    for (uint32_t k = 1; k <= A.N && !fail; k++) {
        fail = AddSite(O, map, k - 1, A.a[k]);
        if (!fail && k >= 2) fail = AddCoupling(O, map, 0, k - 1, A.b[k - 1]);
    }
    if (fail) {
        printf("OperatorAddLaderNormalOrder failed in %s\n", who);
        FreeOperator(O);
        return 1;
    }
    OperatorRecountQComplex(O);
    return 0;
}

int BlockNaturalImpurityOrbitalMatrixToImpurityHamiltonian(OperatorType* O, BlockNaturalImpurityOrbitalMatrixType B,
                                                          uint32_t NF, uint32_t NImpurity,
                                                          const uint16_t* impurityModes, uint32_t firstBathMode,
                                                          ImpurityBathLayout layout) {
    const char* who = "BlockNaturalImpurityOrbitalMatrixToImpurityHamiltonian";
    const uint32_t Nv = B.val.N;
    const uint32_t Nc = B.con.N;
    const uint32_t bath = (Nv > 1 ? Nv - 1 : 0) + Nc;
    const ModeMap map{B.M, impurityModes, firstBathMode, bath, layout};
    if (CheckModes(map, NImpurity, &NF, who) != 0) return 1;
    if (BeginOperator(O, NF, TermEstimate(Nv + Nc, B.M), who) != 0) return 1;
    // val takes the form sites 0..Nv-1, con the sites after it.
    const uint32_t conFirst = Nv > 0 ? Nv : 1;
    if (AddChain(O, map, B.val, 0) != 0 || AddChain(O, map, B.con, conFirst) != 0) {
        printf("OperatorAddLaderNormalOrder failed in %s\n", who);
        FreeOperator(O);
        return 1;
    }
    OperatorRecountQComplex(O);
    return 0;
}
