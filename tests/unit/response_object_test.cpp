// The ResponsefunctionType record: conversions by letter, release, the
// messages of unknown letters, and the shared tridiagonal eigensolver behind
// the chain conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "numeric/lapack.h"
#include "response/responsefunction.h"
#include "response/tridiagonal.h"

namespace {

ResponsefunctionType ScalarList(char letter) {
    ListOfPoles* L = static_cast<ListOfPoles*>(malloc(sizeof(ListOfPoles)));
    L->N = 3;
    EXPECT_EQ(InitListOfPoles(L), 0);
    const double a[3] = {-1.0, 0.5, 2.0}, b[3] = {0.2, 0.5, 0.3};
    for (int i = 0; i < 3; i++) {
        L->a[i] = a[i];
        L->b[i] = b[i];
    }
    L->a0 = 0.25;
    snprintf(L->Name, sizeof(L->Name), "%s", "G");
    return ResponsefunctionType{letter, 0, L, nullptr, 0};
}

}  // namespace

TEST(ResponseObject, EveryScalarFormIsTheSameFunction) {
    ResponsefunctionType R = ScalarList('l');
    for (char t : {'T', 'a', 'L', 'n', 't', 'A', 'N'}) {
        ResponsefunctionType C = ConvertResponsefunction(R, t, 0.0);
        ASSERT_NE(C.M, nullptr) << t;
        EXPECT_EQ(C.type, t);
        EXPECT_EQ(C.QBlock, 0);
        for (double w = -3; w < 3; w += 0.4) {
            Complex16 x = EvaluateResponsefunctionType(C, w, 0.2), y = EvaluateResponsefunctionType(R, w, 0.2);
            EXPECT_NEAR(x.re, y.re, 1e-12) << t;
            EXPECT_NEAR(x.im, y.im, 1e-12) << t;
        }
        // Conversions keep the name of the source.
        ResponsefunctionType T = ConvertResponsefunction(C, 'T', 0.0);
        EXPECT_STREQ(static_cast<TriDiagonalMatrixType*>(T.M)->Name, "G");
        FreeResponsefunction(&T);
        FreeResponsefunction(&C);
        EXPECT_EQ(C.M, nullptr);
    }
    // The block list of a scalar record is a list of 1 by 1 blocks.
    BlockListOfPoles B;
    ASSERT_EQ(ResponsefunctionToBlockListOfPoles(R, &B), 0);
    EXPECT_EQ(B.M, 1u);
    EXPECT_EQ(B.N, 3u);
    EXPECT_EQ(BlockListOfPolesConstant(B, 0, 0).re, 0.25);
    FreeBlockListOfPoles(&B);
    FreeResponsefunction(&R);
}

TEST(ResponseObject, GridTravelsWithConversionsAndPlacesBlockPoles) {
    ResponsefunctionType R = ScalarList('L');
    BlockListOfPoles* B = static_cast<BlockListOfPoles*>(malloc(sizeof(BlockListOfPoles)));
    ASSERT_EQ(ResponsefunctionToBlockListOfPoles(R, B), 0);
    FreeResponsefunction(&R);
    double grid[3] = {-2.0, 0.0, 2.0};
    ResponsefunctionType Rb{'L', 1, B, static_cast<double*>(malloc(sizeof grid)), 3};
    memcpy(Rb.SuggestedGrid, grid, sizeof grid);
    ResponsefunctionType T = ConvertBlockMatrix(Rb, 't', 0.0);
    ASSERT_NE(T.M, nullptr);
    ASSERT_EQ(T.NSuggestedGrid, 3u);
    ResponsefunctionType L = ConvertBlockMatrix(T, 'l', 0.0);
    ASSERT_NE(L.M, nullptr);
    const BlockListOfPoles& P = *static_cast<BlockListOfPoles*>(L.M);
    ASSERT_EQ(P.N, 3u);
    double weight = 0.0, moment = 0.0;
    for (uint32_t k = 0; k < 3; k++) {
        EXPECT_EQ(BlockListOfPolesEnergy(P, k), grid[k]);
        weight += BlockListOfPolesWeight(P, k, 0, 0).re;
        moment += grid[k] * BlockListOfPolesWeight(P, k, 0, 0).re;
    }
    EXPECT_NEAR(weight, 1.0, 1e-12);
    EXPECT_NEAR(moment, -0.2 + 0.25 + 0.6, 1e-12);
    EXPECT_EQ(BlockListOfPolesConstant(P, 0, 0).re, 0.25);
    FreeResponsefunction(&L);
    FreeResponsefunction(&T);
    FreeResponsefunction(&Rb);
}

TEST(ResponseObject, UnknownLettersAndScalarBlocksAreReported) {
    ResponsefunctionType R = ScalarList('L');
    testing::internal::CaptureStdout();
    EXPECT_EQ(ConvertBlockMatrix(R, 'L', 0.0).M, nullptr);
    EXPECT_EQ(ConvertResponsefunction(R, 'x', 0.0).M, nullptr);
    ResponsefunctionType bad = R;
    bad.type = 'q';
    EXPECT_EQ(ConvertResponsefunction(bad, 'T', 0.0).M, nullptr);
    Complex16 z = EvaluateResponsefunctionType(bad, 0.0, 0.1);
    FreeResponsefunction(&bad);
    FreeBlockMatrixFromLua(&bad);
    bad.QBlock = 1;
    CompactMatrixType out;
    EXPECT_EQ(EvaluateBlockResponsefunctionType(bad, &out, 0.0, 0.1), 1);
    FreeBlockMatrix(&bad);
    bad.type = 'N';
    EXPECT_EQ(EvaluateBlockResponsefunctionType(bad, &out, 0.0, 0.1), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: called ConvertBlockMatrix on a ResponsefunctionType that is not in Block Form.\n"
              "Error in ConvertResponsefunction unrecognized type to convert to: x\n"
              "Error in ConvertResponsefunction unrecognized type of M: q\n"
              "Error in LuaEvaluate_ResponseFunction: Type of Response function should be either T/t,A/a,L/l, or "
              "N/n and not q\n"
              "Error in FreeResponsefunction unrecognized type q\n"
              "Error in FreeBlockMatrixFromLua unrecognized type q\n"
              "Error in LuaPush_ResponseFunction: Type of Response function should be either T/t,A/a,L/l, or N/n "
              "and not q\n"
              "Error in FreeBlockMatrix unrecognized type q\n"
              "Not implemented EvaluateBlockaturalImpurityOrbital\n");
    EXPECT_EQ(z.re, 0.0);
    ASSERT_NE(R.M, nullptr);  // the unknown letters freed nothing
    // A userdata's record is not freed by the table rule; a table's is.
    ResponsefunctionType u = R;
    u.type = 'l';
    FreeBlockMatrixFromLua(&u);
    EXPECT_NE(u.M, nullptr);
    FreeBlockMatrixFromLua(&R);
    EXPECT_EQ(R.M, nullptr);
}

TEST(ResponseObject, ChainConversionsGoThroughTheSharedEigensolverChain) {
    // The divide-and-conquer driver is made to fail: the simple driver takes
    // over, with the messages of the dense-matrix layer, and the poles stay.
    ResponsefunctionType R = ScalarList('L');
    ResponsefunctionType T = ConvertResponsefunction(R, 'T', 0.0);
    LapackFailFirstAttempt = 7;
    testing::internal::CaptureStdout();
    ResponsefunctionType L = ConvertResponsefunction(T, 'L', 0.0);
    std::string out = testing::internal::GetCapturedStdout();
    LapackFailFirstAttempt = 0;
    EXPECT_EQ(out, "dstevd failed in TriDiagonalMatrixToEigensystem with info value 7\n"
                   "continue diagonalization with dstev\n");
    ASSERT_NE(L.M, nullptr);
    const ListOfPoles& P = *static_cast<ListOfPoles*>(L.M);
    const ListOfPoles& Q = *static_cast<ListOfPoles*>(R.M);
    ASSERT_EQ(P.N, 3u);
    for (int i = 0; i < 3; i++) {
        EXPECT_NEAR(P.a[i], Q.a[i], 1e-12);
        EXPECT_NEAR(P.b[i], Q.b[i], 1e-12);
    }
    LapackFailSecondAttempt = 3;
    LapackFailFirstAttempt = 2;
    testing::internal::CaptureStdout();
    ResponsefunctionType F = ConvertResponsefunction(T, 'L', 0.0);
    out = testing::internal::GetCapturedStdout();
    LapackFailFirstAttempt = 0;
    LapackFailSecondAttempt = 0;
    EXPECT_EQ(F.M, nullptr);
    EXPECT_EQ(out.rfind("dstevd failed in TriDiagonalMatrixToEigensystem with info value 2\n"
                        "continue diagonalization with dstev\n"
                        "Also dstev failed with info value 3\n"
                        "TriDiagonalMatrixToEigensystem failed in TriDiagonalMatrixToListOfPoles\n",
                        0),
              0u);
    FreeResponsefunction(&L);
    FreeResponsefunction(&T);
    FreeResponsefunction(&R);
}
