// Rotations between lists of named orbitals: permutations of whole shells
// and the change between non-relativistic shells and their j partners.
#include <cstdio>

#include "atomic/basis.h"
#include "atomic/orbitals.h"

namespace {

// Entries below this magnitude are rounding left over from the products.
const double kRotationChop = 2.220446049250313e-15;

bool HasDoubles(const std::vector<std::string>& names) {
    for (size_t i = 0; i < names.size(); i++) {
        for (size_t k = i + 1; k < names.size(); k++) {
            if (names[i] == names[k]) return true;
        }
    }
    return false;
}

// The sum of the multiplicities, or -1 when a name is no orbital.
int CountStates(const std::vector<std::string>& names) {
    int n = 0;
    for (const std::string& name : names) {
        int m = orbToMultiplicity(name);
        if (m < 0) return -1;
        n += m;
    }
    return n;
}

void CouldNotConnect(const std::string& a, const std::string& b) {
    printf("Error in NonRelToRelRotationMatrix: Could not connect \"%s\" with \"%s\n", a.c_str(),
           b.c_str());
}

// The j partners of a shell with multiplicity 2(2l+1) have 2l and 2l+2 states.
bool IsPartner(const std::string& shell, const std::string& rel, int multiplicity) {
    int m = relAngularMomentumZNumbers(rel);
    return QOrbsBelongTogether(shell, rel) && isRelOrbital(rel) &&
           (m == multiplicity / 2 - 1 || m == multiplicity / 2 + 1);
}

// The Y to jjz block of a shell: the table where there is one, the
// Clebsch-Gordan rule beyond.
BasisMatrixType JJzBlock(int multiplicity) {
    if (multiplicity <= 10) return YToJJzMatrix(multiplicity, true);
    BasisMatrixType M;
    BasisYToJJz((multiplicity / 2 - 1) / 2, &M);
    return M;
}

// The rows of the j = l+1/2 states moved in front of those of j = l-1/2.
BasisMatrixType HigherJFirst(const BasisMatrixType& B, int lowerRows) {
    BasisMatrixType R = InitBasisMatrix(B.Ni, B.Nj);
    int higherRows = B.Ni - lowerRows;
    for (int i = 0; i < B.Ni; i++) {
        int from = i < higherRows ? lowerRows + i : i - higherRows;
        for (int j = 0; j < B.Nj; j++) BasisMatrixAt(R, i, j) = BasisMatrixAt(B, from, j);
    }
    return R;
}

}  // namespace

int orbitalPermutationMatrix(const std::vector<std::string>& oldNames,
                             const std::vector<std::string>& newNames, BasisMatrixType* result) {
    int n = CountStates(oldNames);
    if (n < 0 || n != CountStates(newNames)) return 1;
    std::vector<int> offset;
    int o = 0;
    for (const std::string& name : oldNames) {
        offset.push_back(o);
        o += orbToMultiplicity(name);
    }
    BasisMatrixType P = InitBasisMatrix(n, n);
    int row = 0;
    for (const std::string& name : newNames) {
        size_t k = 0;
        while (k < oldNames.size() && oldNames[k] != name) k++;
        if (k == oldNames.size()) return 1;
        int m = orbToMultiplicity(name);
        for (int s = 0; s < m; s++) BasisMatrixAt(P, row + s, offset[k] + s) = Complex16{1.0, 0.0};
        row += m;
    }
    *result = P;
    return 0;
}

BasisMatrixType NonRelToRelRotationMatrix(const std::vector<std::string>& nonRel,
                                          const std::vector<std::string>& rel) {
    std::vector<BasisMatrixType> blocks;
    size_t k = 0;
    for (const std::string& name : nonRel) {
        if (isRelOrbital(name)) {
            printf("Error in NonRelToRelRotationMatrix: Encountered relativistic orbital \"%s\" in list "
                   "of non-relativistic orbitals.\n",
                   name.c_str());
            return BasisMatrixType();
        }
        int m = orbToMultiplicity(name);
        if (m < 0) return BasisMatrixType();
        if (k >= rel.size()) {
            CouldNotConnect(name, "");
            return BasisMatrixType();
        }
        if (rel[k] == name) {  // the shell stays as it is
            blocks.push_back(BasisMatrixIdentity(m));
            k++;
            continue;
        }
        if (m == 2) {
            if (!QOrbsBelongTogether(name, rel[k])) {
                CouldNotConnect(name, rel[k]);
                return BasisMatrixType();
            }
            blocks.push_back(YToJJzMatrix(2, true));
            k++;
            continue;
        }
        if (!IsPartner(name, rel[k], m)) {
            CouldNotConnect(name, rel[k]);
            return BasisMatrixType();
        }
        if (k + 1 >= rel.size()) {
            printf("Error in NonRelToRelRotationMatrix: List of new orbitals is missing the second "
                   "entry belonging to \"%s\n",
                   name.c_str());
            return BasisMatrixType();
        }
        int first = relAngularMomentumZNumbers(rel[k]);
        if (!IsPartner(name, rel[k + 1], m) || relAngularMomentumZNumbers(rel[k + 1]) == first) {
            CouldNotConnect(name, rel[k + 1]);
            return BasisMatrixType();
        }
        BasisMatrixType B = JJzBlock(m);
        if (first > m / 2) B = HigherJFirst(B, m / 2 - 1);
        blocks.push_back(B);
        k += 2;
    }
    if (k != rel.size()) {
        CouldNotConnect(nonRel.empty() ? std::string() : nonRel.back(), rel[k]);
        return BasisMatrixType();
    }
    return BasisMatrixFlatten(blocks);
}

BasisMatrixType RelToNonRelRotationMatrix(const std::vector<std::string>& rel,
                                          const std::vector<std::string>& nonRel) {
    return NonRelToRelRotationMatrix(nonRel, rel);
}

BasisMatrixType OrbitalRotationMatrix(const std::vector<std::string>& oldNames,
                                      const std::vector<std::string>& newNames) {
    if (HasDoubles(oldNames)) {
        printf("Error: RotationMatrix called with identical entries in the list of old orbitals.\n");
        return BasisMatrixType();
    }
    if (HasDoubles(newNames)) {
        printf("Error: RotationMatrix called with identical entries in the list of new orbitals.\n");
        return BasisMatrixType();
    }
    int nOld = CountStates(oldNames);
    if (nOld < 0 || nOld != CountStates(newNames)) {
        printf("Error in RotationMatrix: Old and new orbitals must have the same number of fermionic "
               "states.\n");
        return BasisMatrixType();
    }

    // Old list to its grouped form, grouped new list to the new list.
    std::vector<std::string> oldGrouped, newGrouped;
    BasisMatrixType pOld, pNew;
    if (groupedRelOrbitals(oldNames, &oldGrouped) != 0 ||
        groupedRelOrbitals(newNames, &newGrouped) != 0 ||
        orbitalPermutationMatrix(oldNames, oldGrouped, &pOld) != 0 ||
        orbitalPermutationMatrix(newGrouped, newNames, &pNew) != 0) {
        printf("Error in RotationMatrix: Grouping of orbitals failed.\n");
        return BasisMatrixType();
    }

    // Grouped lists to non-relativistic intermediates where a shell changes kind.
    std::vector<std::string> oldMid = oldGrouped, newMid = newGrouped;
    BasisMatrixType rOld = BasisMatrixIdentity(nOld), rNew = BasisMatrixIdentity(nOld);
    if (QChangeFromRelToNonRel(oldNames, newNames)) {
        oldMid = relToNonRelOrbs(oldGrouped);
        newMid = relToNonRelOrbs(newGrouped);
        BasisMatrixType toRelOld = NonRelToRelRotationMatrix(oldMid, oldGrouped);
        rNew = NonRelToRelRotationMatrix(newMid, newGrouped);
        if (toRelOld.Ni == 0 || rNew.Ni == 0) {
            printf("Error in RotationMatrix: Rotation from relativistic to non-relativistic orbitals "
                   "or vice versa failed.\n");
            return BasisMatrixType();
        }
        rOld = BasisMatrixConjugateTranspose(toRelOld);
    }

    BasisMatrixType pMid;
    if (orbitalPermutationMatrix(oldMid, newMid, &pMid) != 0) {
        printf("Error in RotationMatrix: Permutation of orbitals failed.\n");
        return BasisMatrixType();
    }

    BasisMatrixType r = BasisMatrixMultiply(rOld, pOld);
    r = BasisMatrixMultiply(pMid, r);
    r = BasisMatrixMultiply(rNew, r);
    r = BasisMatrixMultiply(pNew, r);
    BasisMatrixChop(&r, kRotationChop);
    return r;
}
