// Crystal fields: expansions on spherical harmonics and the operator
// sum_kq A_kq C^k_q between two shells.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_detail.h"
#include "atomic/threej.h"

using namespace oneparticle;

HarmonicsExpansion* NewHarmonicsExpansion(uint32_t n) {
    HarmonicsExpansion* A = (HarmonicsExpansion*)malloc(sizeof(HarmonicsExpansion));
    if (A == nullptr) {
        printf("Could not allocate the record in NewHarmonicsExpansion\n");
        return nullptr;
    }
    size_t count = n ? n : 1;
    A->QComplex = 0;
    A->N = n;
    A->l = (int32_t*)calloc(count, sizeof(int32_t));
    A->m = (int32_t*)calloc(count, sizeof(int32_t));
    A->VRe = (double*)calloc(count, sizeof(double));
    A->VIm = (double*)calloc(count, sizeof(double));
    if (A->l == nullptr || A->m == nullptr || A->VRe == nullptr || A->VIm == nullptr) {
        printf("Could not allocate the arrays in NewHarmonicsExpansion\n");
        FreeHarmonicsExpansion(A);
        return nullptr;
    }
    return A;
}

void FreeHarmonicsExpansion(HarmonicsExpansion* A) {
    if (A == nullptr) return;
    free(A->l);
    free(A->m);
    free(A->VRe);
    free(A->VIm);
    free(A);
}

void StreamPrintHarmonicsExpansion(const HarmonicsExpansion* A, FILE* file) {
    fprintf(file, "Expansion on spherical harmonics\n");
    fprintf(file, "  i   l    m    Value\n");
    for (uint32_t i = 0; i < A->N; i++) {
        if (A->QComplex)
            fprintf(file, "%3i %3i %4i %22.15E + %22.15E I\n", (int)i, A->l[i], A->m[i], A->VRe[i], A->VIm[i]);
        else
            fprintf(file, "%3i %3i %4i %22.15E\n", (int)i, A->l[i], A->m[i], A->VRe[i]);
    }
}

// For each entry (k, q, A) and each mode i of shell 1 (m1 = i - l1): the
// partner m2 = m1 - q of shell 2 and c = c^k(l1 m1, l2 m2); A c c+(1) c(2)
// is added for the up and the down lists when |c| is above the cut.
int CreateOperatorCF(uint32_t NF, int l1, int l2, const uint16_t* up1, const uint16_t* dn1, const uint16_t* up2,
                     const uint16_t* dn2, const HarmonicsExpansion* expansion, OperatorType* O) {
    if (Begin(O, NF, "CF", 2) != 0) return 1;
    bool complex = expansion->QComplex != 0;
    if (complex && MakeComplex(O) != 0) return Fail(O);
    for (uint32_t e = 0; e < expansion->N; e++) {
        int k = expansion->l[e], q = expansion->m[e];
        double re = expansion->VRe[e], im = complex ? expansion->VIm[e] : 0.0;
        for (int i = 0; i <= 2 * l1; i++) {
            int m1 = i - l1, m2 = m1 - q;
            if (m2 < -l2 || m2 > l2) continue;
            double c = SlaterCoefficientC(k, l1, m1, l2, m2);
            if (std::fabs(c) <= kCoefficientCut) continue;
            int j = m2 + l2;
            if (AddPair(O, up1[i], up2[j], re * c, im * c) != 0 || AddPair(O, dn1[i], dn2[j], re * c, im * c) != 0)
                return Fail(O);
        }
    }
    return Finish(O);
}
