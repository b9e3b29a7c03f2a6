// Orthonormalisation of the rows or columns of a matrix: by singular value
// decomposition (the nearest orthonormal set) and by Gram-Schmidt in row
// order, with or without the transformation that does it.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

int cmpuint32t(const void* a, const void* b) {
    uint32_t x = *static_cast<const uint32_t*>(a), y = *static_cast<const uint32_t*>(b);
    return (x > y) - (x < y);
}

namespace {

size_t ElementSize(const CompactMatrixType& M) {
    return M.QComplex ? sizeof(Complex16) : sizeof(double);
}

// Shrinks M to its first Ni rows.
void KeepRows(CompactMatrixType* M, uint32_t Ni) {
    size_t bytes = static_cast<size_t>(Ni) * M->Nj * ElementSize(*M);
    if (bytes == 0) {
        free(M->data);
        M->data = nullptr;
    } else {
        void* d = realloc(M->data, bytes);
        if (d != nullptr) M->data = d;
    }
    M->Ni = Ni;
}

// ------------------------------------------------------------------ SVD

// M = U S V^dagger becomes U S' V^dagger with S' = 1 for the kept singular
// values and 0 for the dropped ones.  For LAPACK the block is M^T (Nj x Ni),
// whose decomposition u s vt gives M'^T = u S' vt straight into the block.
// With T not null it also initialises T = U S^+ U^dagger (S^+ = 1/s for the
// kept values, 0 for the dropped), for which M' = T M; U is vt read
// row-major.
int SVDRows(CompactMatrixType* M, double tolerance, bool remove, CompactMatrixType* T,
            const char* word) {
    const uint32_t Ni = M->Ni, Nj = M->Nj;
    if (Ni == 0 || Nj == 0) {
        if (T != nullptr) {
            *T = CompactidentityMatrix(Ni);
            return isNullMatrix(*T) ? 1 : 0;
        }
        return 0;
    }
    const int m = static_cast<int>(Nj), n = static_cast<int>(Ni);
    const int k = m < n ? m : n;
    const bool c = M->QComplex != 0;
    size_t es = ElementSize(*M);
    void* a = malloc(es * Ni * Nj);
    void* u = malloc(es * static_cast<size_t>(m) * k);
    void* vt = malloc(es * static_cast<size_t>(k) * n);
    double* s = static_cast<double*>(malloc(sizeof(double) * k));
    double* rwork = c ? static_cast<double*>(malloc(sizeof(double) * 5 * Ni)) : nullptr;
    uint32_t* dropped = static_cast<uint32_t*>(malloc(sizeof(uint32_t) * Ni));
    void* work = nullptr;
    int fail = a == nullptr || u == nullptr || vt == nullptr || s == nullptr ||
               (c && rwork == nullptr) || dropped == nullptr;
    if (fail) printf("malloc failed in %s\n", word);
    int info = 0;
    if (!fail) {
        memcpy(a, M->data, es * Ni * Nj);
        int lwork = -1;
        if (c) {
            Complex16 query{0.0, 0.0};
            zgesvd_("S", "S", &m, &n, static_cast<Complex16*>(a), &m, s, static_cast<Complex16*>(u),
                    &m, static_cast<Complex16*>(vt), &k, &query, &lwork, rwork, &info, 1, 1);
            lwork = info == 0 && query.re >= 1.0 ? static_cast<int>(query.re) : 2 * k + m + n;
            work = malloc(sizeof(Complex16) * lwork);
            if (work != nullptr)
                zgesvd_("S", "S", &m, &n, static_cast<Complex16*>(a), &m, s,
                        static_cast<Complex16*>(u), &m, static_cast<Complex16*>(vt), &k,
                        static_cast<Complex16*>(work), &lwork, rwork, &info, 1, 1);
        } else {
            double query = 0.0;
            dgesvd_("S", "S", &m, &n, static_cast<double*>(a), &m, s, static_cast<double*>(u), &m,
                    static_cast<double*>(vt), &k, &query, &lwork, &info, 1, 1);
            lwork = info == 0 && query >= 1.0 ? static_cast<int>(query) : 5 * (m + n);
            work = malloc(sizeof(double) * lwork);
            if (work != nullptr)
                dgesvd_("S", "S", &m, &n, static_cast<double*>(a), &m, s, static_cast<double*>(u),
                        &m, static_cast<double*>(vt), &k, static_cast<double*>(work), &lwork, &info,
                        1, 1);
        }
        if (work == nullptr) {
            printf("malloc failed in %s\n", word);
            fail = 1;
        } else if (info != 0) {
            printf("%s failed in %s with info value %i\n", c ? "zgesvd" : "dgesvd", word, info);
            fail = 1;
        }
    }
    uint32_t NDropped = 0;
    if (!fail) {
        // Rows beyond the number of columns have no singular value of their
        // own: they count as dropped with the value 0.
        for (uint32_t t = 0; t < Ni; t++)
            if (t >= static_cast<uint32_t>(k) || s[t] <= tolerance) dropped[NDropped++] = t;
        // Zero the columns of u that belong to dropped values, then M' = u vt.
        for (int t = 0; t < k; t++) {
            if (s[t] > tolerance) continue;
            memset(static_cast<char*>(u) + es * static_cast<size_t>(t) * m, 0, es * m);
        }
        if (c) {
            Complex16 one{1.0, 0.0}, zero{0.0, 0.0};
            zgemm_("N", "N", &m, &n, &k, &one, static_cast<Complex16*>(u), &m,
                   static_cast<Complex16*>(vt), &k, &zero, CompactMatrixComplexData(*M), &m, 1, 1);
        } else {
            double one = 1.0, zero = 0.0;
            dgemm_("N", "N", &m, &n, &k, &one, static_cast<double*>(u), &m,
                   static_cast<double*>(vt), &k, &zero, CompactMatrixRealData(*M), &m);
        }
        if (T != nullptr) {
            for (int t = 0; t < k; t++) s[t] = s[t] > tolerance ? 1.0 / s[t] : 0.0;
            CompactMatrixType P = CompactnullMatrixMatrix(Ni, static_cast<uint32_t>(k));
            P.QComplex = M->QComplex;
            P.data = vt;
            fail = TransformDiagonalMatrixByCompactMatrixTATdag(s, P, T);
        }
    }
    if (!fail && remove && NDropped > 0) {
        qsort(dropped, NDropped, sizeof(uint32_t), cmpuint32t);
        // From the last to the first, so that the row numbers stay valid.
        for (uint32_t t = NDropped; t-- > 0;) {
            printf("Removing row %u in %s\n", dropped[t], word);
            CompactMatrixRemoveRow(M, dropped[t]);
            if (T != nullptr) CompactMatrixRemoveRow(T, dropped[t]);
        }
    }
    free(a);
    free(u);
    free(vt);
    free(s);
    free(rwork);
    free(dropped);
    free(work);
    return fail;
}

// ---------------------------------------------------------- Gram-Schmidt

// Modified Gram-Schmidt over the rows in order.  With T not null, T starts
// as the unit matrix and follows every row operation, so that M_new = T M.
int GramSchmidtRows(CompactMatrixType* M, double tolerance, bool remove, CompactMatrixType* T) {
    const uint32_t Ni = M->Ni;
    const int nj = static_cast<int>(M->Nj), nt = static_cast<int>(Ni), inc = 1;
    const bool c = M->QComplex != 0;
    if (T != nullptr) {
        *T = CompactidentityMatrix(Ni);
        if (isNullMatrix(*T)) return 1;
        if (c && MakeCompactRealMatrixComplex(T)) {
            FreeCompactMatrix(T);
            return 1;
        }
    }
    size_t es = ElementSize(*M);
    char* md = static_cast<char*>(M->data);
    char* td = T != nullptr ? static_cast<char*>(T->data) : nullptr;
    size_t mRow = es * M->Nj, tRow = es * Ni;
    uint32_t kept = 0;
    for (uint32_t i = 0; i < Ni; i++) {
        char* row = md + i * mRow;
        double norm2;
        if (c) {
            Complex16 d = zdotc_(&nj, reinterpret_cast<Complex16*>(row), &inc,
                                 reinterpret_cast<Complex16*>(row), &inc);
            norm2 = d.re;
        } else {
            norm2 = nj > 0 ? ddot_(&nj, reinterpret_cast<double*>(row), &inc,
                                   reinterpret_cast<double*>(row), &inc)
                           : 0.0;
        }
        // Dropped: the test is on the squared norm.  A row with nothing left
        // can't be normalised and is dropped even when tolerance is 0.
        if (tolerance > norm2 || norm2 == 0.0) continue;
        double f = 1.0 / sqrt(norm2);
        char* trow = td != nullptr ? td + i * tRow : nullptr;
        if (c) {
            Complex16 cf{f, 0.0};
            zscal_(&nj, &cf, reinterpret_cast<Complex16*>(row), &inc);
            if (trow) zscal_(&nt, &cf, reinterpret_cast<Complex16*>(trow), &inc);
        } else {
            dscal_(&nj, &f, reinterpret_cast<double*>(row), &inc);
            if (trow) dscal_(&nt, &f, reinterpret_cast<double*>(trow), &inc);
        }
        // Up to its final place, over the rows dropped so far.
        char* dest = md + kept * mRow;
        if (dest != row) memcpy(dest, row, mRow);
        char* tdest = td != nullptr ? td + kept * tRow : nullptr;
        if (tdest != nullptr && tdest != trow) memcpy(tdest, trow, tRow);
        for (uint32_t l = i + 1; l < Ni; l++) {
            char* other = md + l * mRow;
            char* tother = td != nullptr ? td + l * tRow : nullptr;
            if (c) {
                Complex16 p = zdotc_(&nj, reinterpret_cast<Complex16*>(dest), &inc,
                                     reinterpret_cast<Complex16*>(other), &inc);
                Complex16 mp{-p.re, -p.im};
                zaxpy_(&nj, &mp, reinterpret_cast<Complex16*>(dest), &inc,
                       reinterpret_cast<Complex16*>(other), &inc);
                if (tother)
                    zaxpy_(&nt, &mp, reinterpret_cast<Complex16*>(tdest), &inc,
                           reinterpret_cast<Complex16*>(tother), &inc);
            } else {
                double p = ddot_(&nj, reinterpret_cast<double*>(dest), &inc,
                                 reinterpret_cast<double*>(other), &inc);
                double mp = -p;
                daxpy_(&nj, &mp, reinterpret_cast<double*>(dest), &inc,
                       reinterpret_cast<double*>(other), &inc);
                if (tother)
                    daxpy_(&nt, &mp, reinterpret_cast<double*>(tdest), &inc,
                           reinterpret_cast<double*>(tother), &inc);
            }
        }
        kept++;
    }
    if (kept < Ni) {
        memset(md + kept * mRow, 0, (Ni - kept) * mRow);
        if (td != nullptr) memset(td + kept * tRow, 0, (Ni - kept) * tRow);
        if (remove) {
            KeepRows(M, kept);
            if (T != nullptr) KeepRows(T, kept);
        }
    }
    return 0;
}

// Column forms: the rows of the transpose are the columns, and the Hermitian
// product of rows of M^T is that of columns of M.
typedef int (*RowOrthogonalizer)(CompactMatrixType*, double, bool, CompactMatrixType*);

int Columns(CompactMatrixType* M, double tolerance, bool remove, CompactMatrixType* T,
            RowOrthogonalizer rows, const char* rowWord, const char* colWord) {
    if (CompactMatrixTranspose(M)) {
        printf("CompactMatrixTranspose failed in %s\n", colWord);
        return 1;
    }
    if (rows(M, tolerance, remove, T)) {
        printf("%s failed in %s\n", rowWord, colWord);
        CompactMatrixTranspose(M);
        return 1;
    }
    if (CompactMatrixTranspose(M) || (T != nullptr && CompactMatrixTranspose(T))) {
        printf("CompactMatrixTranspose failed in %s\n", colWord);
        if (T != nullptr) FreeCompactMatrix(T);
        return 1;
    }
    return 0;
}

int SVDRowsOf(CompactMatrixType* M, double tolerance, bool remove, CompactMatrixType* T) {
    return SVDRows(M, tolerance, remove, T, "CompactMatrixSVDOrthogonalizeRow");
}

}  // namespace

int CompactMatrixSVDOrthogonalizeRow(CompactMatrixType* M, double tolerance, bool remove) {
    return SVDRowsOf(M, tolerance, remove, nullptr);
}

int CompactMatrixSVDOrthogonalizeCol(CompactMatrixType* M, double tolerance, bool remove) {
    return Columns(M, tolerance, remove, nullptr, SVDRowsOf, "CompactMatrixSVDOrthogonalizeRow",
                   "CompactMatrixSVDOrthogonalizeCol");
}

int CompactMatrixSVDOrthogonalizeRowplusT(CompactMatrixType*, double, bool, CompactMatrixType*) {
    return 1;
}

int CompactMatrixSVDOrthogonalizeColplusT(CompactMatrixType* M, double tolerance, bool remove,
                                          CompactMatrixType* T) {
    return Columns(M, tolerance, remove, T, SVDRowsOf, "CompactMatrixSVDOrthogonalizeRow",
                   "CompactMatrixSVDOrthogonalizeColplusT");
}

int CompactMatrixGramSchmidtOrthogonalizeRow(CompactMatrixType* M, double tolerance, bool remove) {
    return GramSchmidtRows(M, tolerance, remove, nullptr);
}

int CompactMatrixGramSchmidtOrthogonalizeRowplusT(CompactMatrixType* M, double tolerance,
                                                  bool remove, CompactMatrixType* T) {
    return GramSchmidtRows(M, tolerance, remove, T);
}

int CompactMatrixGramSchmidtOrthogonalizeCol(CompactMatrixType* M, double tolerance, bool remove) {
    return Columns(M, tolerance, remove, nullptr, GramSchmidtRows,
                   "CompactMatrixGramSchmidtOrthogonalizeRow",
                   "CompactMatrixGramSchmidtOrthogonalizeCol");
}

int CompactMatrixGramSchmidtOrthogonalizeColplusT(CompactMatrixType* M, double tolerance,
                                                  bool remove, CompactMatrixType* T) {
    return Columns(M, tolerance, remove, T, GramSchmidtRows,
                   "CompactMatrixGramSchmidtOrthogonalizeRow",
                   "CompactMatrixGramSchmidtOrthogonalizeColplusT");
}

// ------------------------------------------------ the row-pointer record

namespace {

int OrthonormalizeMatrixRows(MatrixType* M, bool svd) {
    CompactMatrixType c;
    if (MatrixCopyToCompact(*M, &c)) return 1;
    int fail;
    if (svd) {
        fail = CompactMatrixSVDOrthogonalizeRow(&c, 0.0, false);
    } else {
        // A row counts as dependent when what is left of it is below 1e-10
        // of the longest row.
        double longest = 0.0;
        for (uint32_t i = 0; i < c.Ni; i++) {
            double n2 = 0.0;
            for (uint32_t j = 0; j < c.Nj; j++) {
                Complex16 v = CompactMatrixElement(c, i, j);
                n2 += v.re * v.re + v.im * v.im;
            }
            if (n2 > longest) longest = n2;
        }
        fail = CompactMatrixGramSchmidtOrthogonalizeRow(&c, longest * 1e-20, false);
    }
    if (!fail) {
        MatrixType r;
        fail = CompactMatrixCopyToMatrix(c, &r);
        if (!fail) {
            FreeMatrix(M);
            M->Re = r.Re;
            M->Im = r.Im;
            M->QComplex = r.QComplex;
        }
    }
    FreeCompactMatrix(&c);
    return fail;
}

}  // namespace

int MatrixOrthonormalize(MatrixType* M) { return OrthonormalizeMatrixRows(M, false); }

int MatrixBasisOrthonormalize(MatrixType* M) { return OrthonormalizeMatrixRows(M, true); }
