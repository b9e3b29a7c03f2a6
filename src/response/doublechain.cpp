// The double chain: one chain for the poles at or below mu (val) and one for
// those above (con).  Conversions go through the list of poles.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "response/tridiagonal.h"

namespace {

void CopyName(char* to, const char* from) {
    memcpy(to, from, 256);
    to[255] = '\0';
}

// Splits L at mu into val and con, each reduced to n poles unless n is 0.
int SplitListOfPoles(const ListOfPoles& L, double mu, unsigned int n, ListOfPoles* val, ListOfPoles* con,
                     const char* where) {
    if (ListOfPolesCopyVal(val, L, mu, 0.0) != 0) {
        printf("ListOfPolesCopyVal failed in %s\n", where);
        return 1;
    }
    if (ListOfPolesCopyCon(con, L, mu, 0.0) != 0) {
        printf("ListOfPolesCopyCon failed in %s\n", where);
        FreeListOfPoles(val);
        return 1;
    }
    if (n != 0) {
        ReduceListOfPolesNumber(val, n);
        ReduceListOfPolesNumber(con, n);
    }
    return 0;
}

// Makes the chains of the two halves; on failure nothing is left allocated.
int HalvesToChains(const ListOfPoles& val, const ListOfPoles& con, TriDiagonalMatrixType* cv,
                   TriDiagonalMatrixType* cc, const char* where) {
    if (ListOfPolesToTridiagonalMatrix(val, cv, 0) != 0) {
        printf("ListOfPolesToTridiagonalMatrix failed in %s\n", where);
        return 1;
    }
    if (ListOfPolesToTridiagonalMatrix(con, cc, 0) != 0) {
        printf("ListOfPolesToTridiagonalMatrix failed in %s\n", where);
        FreeTriDiagonalMatrix(cv);
        return 1;
    }
    return 0;
}

// The poles of both chains in one list: val's first, then con's.
int ChainsToListOfPoles(const TriDiagonalMatrixType& cv, const TriDiagonalMatrixType& cc, ListOfPoles* L,
                        const char* where) {
    ListOfPoles lc;
    if (TriDiagonalMatrixToListOfPoles(cv, L) != 0) {
        printf("TriDiagonalMatrixToListOfPoles failed in %s\n", where);
        return 1;
    }
    if (TriDiagonalMatrixToListOfPoles(cc, &lc) != 0) {
        printf("TriDiagonalMatrixToListOfPoles failed in %s\n", where);
        FreeListOfPoles(L);
        return 1;
    }
    int info = AddListOfPoles(L, lc);
    FreeListOfPoles(&lc);
    if (info != 0) {
        printf("AddListOfPoles failed in %s\n", where);
        FreeListOfPoles(L);
        return 1;
    }
    return 0;
}

}  // namespace

int ListOfPolesToBADoubleTridiagonalMatrix(ListOfPoles L, BADoubleTriDiagonalMatrixType* B, double mu,
                                           unsigned int n) {
    const char* where = "ListOfPolesToBADoubleTridiagonalMatrix";
    ListOfPoles val;
    ListOfPoles con;
    if (SplitListOfPoles(L, mu, n, &val, &con, where) != 0) return 1;
    // The chains share the weight 1 and F^2 carries the total.
    double W = 0.0;
    for (uint32_t i = 0; i < val.N; i++) W += val.b[i];
    for (uint32_t i = 0; i < con.N; i++) W += con.b[i];
    double F = W > 0.0 ? sqrt(W) : 0.0;
    if (W > 0.0) {
        ScaleListOfPoles(&val, 1.0 / W);
        ScaleListOfPoles(&con, 1.0 / W);
    }
    int info = HalvesToChains(val, con, &B->val, &B->con, where);
    FreeListOfPoles(&val);
    FreeListOfPoles(&con);
    if (info != 0) return 1;
    CopyName(B->Name, L.Name);
    B->epsilon = L.a0;
    B->F = F;
    B->mu = mu;
    return 0;
}

int TriDiagonalMatrixToBADoubleTriDiagonalMatrix(TriDiagonalMatrixType M, BADoubleTriDiagonalMatrixType* B,
                                                 double mu, unsigned int n) {
    ListOfPoles L;
    if (TriDiagonalMatrixToListOfPoles(M, &L) != 0) {
        printf("TriDiagonalMatrixToListOfPoles failed in TriDiagonalMatrixToBADoubleTriDiagonalMatrix\n");
        return 1;
    }
    CopyName(L.Name, M.Name);
    int info = ListOfPolesToBADoubleTridiagonalMatrix(L, B, mu, n);
    FreeListOfPoles(&L);
    return info;
}

int AndersonMatrixToBADoubleTriDiagonalMatrix(AndersonMatrixType A, BADoubleTriDiagonalMatrixType* B, double mu,
                                              unsigned int n) {
    ListOfPoles L;
    if (AndersonMatrixToListOfPoles(A, &L) != 0) {
        printf("AndersonMatrixToListOfPoles failed in AndersonMatrixToBADoubleTriDiagonalMatrix\n");
        return 1;
    }
    CopyName(L.Name, A.Name);
    int info = ListOfPolesToBADoubleTridiagonalMatrix(L, B, mu, n);
    FreeListOfPoles(&L);
    return info;
}

int BADoubleTriDiagonalMatrixToListOfPoles(BADoubleTriDiagonalMatrixType B, ListOfPoles* L) {
    if (ChainsToListOfPoles(B.val, B.con, L, "BADoubleTriDiagonalMatrixToListOfPoles") != 0) return 1;
    ScaleListOfPoles(L, B.F * B.F);
    L->a0 += B.epsilon;
    CopyName(L->Name, B.Name);
    L->mu = B.mu;
    return 0;
}

int BADoubleTriDiagonalMatrixToTriDiagonalMatrix(BADoubleTriDiagonalMatrixType B, TriDiagonalMatrixType* M) {
    ListOfPoles L;
    if (BADoubleTriDiagonalMatrixToListOfPoles(B, &L) != 0) return 1;
    int info = ListOfPolesToTridiagonalMatrix(L, M, 0);
    if (info != 0) printf("ListOfPolesToTridiagonalMatrix failed in BADoubleTriDiagonalMatrixToTriDiagonalMatrix\n");
    FreeListOfPoles(&L);
    return info;
}

int BADoubleTriDiagonalMatrixToAndersonMatrix(BADoubleTriDiagonalMatrixType B, AndersonMatrixType* A) {
    ListOfPoles L;
    if (BADoubleTriDiagonalMatrixToListOfPoles(B, &L) != 0) return 1;
    int info = ListOfPolesToAndersonMatrix(L, A);
    if (info != 0) printf("ListOfPolesToAndersonMatrix failed in BADoubleTriDiagonalMatrixToAndersonMatrix\n");
    FreeListOfPoles(&L);
    return info;
}

int ListOfPolesToDoubleTriDiagonalMatrix(ListOfPoles L, DoubleTriDiagonalMatrixType* D, double mu,
                                         unsigned int n) {
    const char* where = "ListOfPolesToDoubleTriDiagonalMatrix";
    ListOfPoles val;
    ListOfPoles con;
    if (SplitListOfPoles(L, mu, n, &val, &con, where) != 0) return 1;
    val.a0 = L.a0;  // the constant rides on the valence chain
    int info = HalvesToChains(val, con, &D->val, &D->con, where);
    FreeListOfPoles(&val);
    FreeListOfPoles(&con);
    if (info != 0) return 1;
    CopyName(D->Name, L.Name);
    D->mu = mu;
    return 0;
}

int DoubleTriDiagonalMatrixToListOfPoles(DoubleTriDiagonalMatrixType D, ListOfPoles* L) {
    if (ChainsToListOfPoles(D.val, D.con, L, "DoubleTriDiagonalMatrixToListOfPoles") != 0) return 1;
    CopyName(L->Name, D.Name);
    L->mu = D.mu;
    return 0;
}
