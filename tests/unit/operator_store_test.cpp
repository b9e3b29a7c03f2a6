#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "manybody/operator.h"

namespace {

uint16_t C(unsigned m) { return (uint16_t)(0x8000 | m); }
uint16_t A(unsigned m) { return (uint16_t)m; }

// A fresh operator on nf fermion modes with the given lengths made.
OperatorType MakeOperator(unsigned nf, std::vector<std::pair<unsigned, unsigned>> lengthsAndBits) {
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = nf;
    O.NWord = DeterminantNWord(nf, 0);
    for (auto [length, bits] : lengthsAndBits) EXPECT_EQ(InitOperatorFixedLength(&O, length, bits), 0);
    return O;
}

std::string PrintToString(void (*print)(OperatorType, FILE*), const OperatorType& O) {
    char* text = nullptr;
    size_t size = 0;
    FILE* f = open_memstream(&text, &size);
    print(O, f);
    fclose(f);
    std::string s(text, size);
    free(text);
    return s;
}

}  // namespace

TEST(OperatorStore, InitAndFreeLeaveHarmlessRecords) {
    OperatorType O;
    ASSERT_EQ(InitNamedOperator(&O, "H"), 0);
    EXPECT_STREQ(O.Name, "H");
    EXPECT_EQ(O.MaxLength, 0u);
    EXPECT_EQ(O.l[0].N, 0u);
    EXPECT_EQ(O.l[0].KeyList, nullptr);
    EXPECT_EQ(O.Restrictions.NRestriction, 0u);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, nullptr, 0), 0.0);
    FreeOperator(&O);
    EXPECT_STREQ(O.Name, "Free Operator");
    FreeOperator(&O);  // a second free does nothing
    EXPECT_EQ(O.l, nullptr);

    std::string longName(300, 'x');
    ASSERT_EQ(InitOperator(&O), 0);
    OperatorSetName(&O, longName.c_str());
    EXPECT_EQ(std::string(O.Name), std::string(255, 'x'));
    FreeOperator(&O);
}

TEST(OperatorStore, TermsSumAndKeepTheirOrder) {
    // One key bit forces long collision chains.
    OperatorType O = MakeOperator(6, {{2, 1}});
    uint16_t ca[2] = {A(0), C(1)};  // C1 A0
    uint16_t ac[2] = {C(1), A(0)};  // A0 C1: another term
    ASSERT_EQ(RealOperatorAddLader(&O, ca, 2, 0.5), 0);
    ASSERT_EQ(RealOperatorAddLader(&O, ca, 2, 0.25), 0);
    ASSERT_EQ(RealOperatorAddLader(&O, ac, 2, -1.0), 0);
    ASSERT_EQ(RealOperatorAddLader(&O, ac, 2, 0.0), 0);
    EXPECT_EQ(O.l[2].N, 2u);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, ca, 2), 0.75);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, ac, 2), -1.0);
    uint16_t absent[2] = {A(2), C(1)};
    EXPECT_EQ(RealOperatorPrefactorLader(&O, absent, 2), 0.0);
    uint16_t zero[2] = {A(3), C(3)};
    ASSERT_EQ(RealOperatorAddLader(&O, zero, 2, 0.0), 0);  // a zero prefactor is a term
    EXPECT_EQ(O.l[2].N, 3u);

    // All 36 products C i A j with random values through long chains; the
    // capacity grows by NF + NB = 6 at a time.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1, 1);
    std::map<std::pair<int, int>, double> reference;
    reference[{1, 0}] = 0.75;
    reference[{3, 3}] = 0.0;
    for (int pass = 0; pass < 2; pass++) {
        for (int i = 0; i < 6; i++) {
            for (int j = 0; j < 6; j++) {
                double v = u(rng);
                uint16_t t[2] = {A(j), C(i)};
                ASSERT_EQ(RealOperatorAddLader(&O, t, 2, v), 0);
                reference[{i, j}] += v;
            }
        }
    }
    EXPECT_EQ(O.l[2].N, 37u);
    EXPECT_EQ(O.l[2].NAloc, 42u);
    for (auto& [ij, v] : reference) {
        uint16_t t[2] = {A(ij.second), C(ij.first)};
        EXPECT_DOUBLE_EQ(RealOperatorPrefactorLader(&O, t, 2), v);
    }
    EXPECT_EQ(RealOperatorPrefactorLader(&O, ac, 2), -1.0);
    // The chains hold every term exactly once.
    unsigned visited = 0;
    for (unsigned b = 0; b < 2; b++) {
        for (uint32_t t = O.l[2].KeyList[b]; t != 0; t = O.l[2].Next[t - 1]) visited++;
    }
    EXPECT_EQ(visited, O.l[2].N);
    FreeOperator(&O);
}

TEST(OperatorStore, ConstantTerm) {
    OperatorType O = MakeOperator(2, {});
    ASSERT_EQ(RealOperatorAddLader(&O, nullptr, 0, 1.5), 0);
    ASSERT_EQ(OperatorAddLader(&O, nullptr, 0, 0.5, 0.0), 0);
    EXPECT_EQ(O.l[0].N, 1u);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, nullptr, 0), 2.0);
    ASSERT_EQ(OperatorAddLader(&O, nullptr, 0, 0.0, -1.0), 0);
    EXPECT_EQ(O.l[0].QComplex, 1u);
    EXPECT_EQ(O.QComplex, 1u);
    Complex16 c = ComplexOperatorPrefactorLader(&O, nullptr, 0);
    EXPECT_EQ(c.re, 2.0);
    EXPECT_EQ(c.im, -1.0);
    FreeOperator(&O);
}

TEST(OperatorStore, ComplexLengthsAndTheRecount) {
    OperatorType O = MakeOperator(4, {{2, 4}, {4, 4}});
    uint16_t t2[2] = {A(0), C(1)};
    uint16_t t4[4] = {A(0), A(1), C(2), C(3)};
    // An imaginary part below ZeroCut keeps a real length real.
    ASSERT_EQ(OperatorAddLader(&O, t2, 2, 1.0, 1e-308), 0);
    EXPECT_EQ(O.l[2].QComplex, 0u);
    EXPECT_EQ(O.QComplex, 0u);
    // A complex value on a length with terms converts it and keeps them.
    uint16_t other[2] = {A(1), C(0)};
    ASSERT_EQ(OperatorAddLader(&O, other, 2, 2.0, 0.0), 0);
    ASSERT_EQ(OperatorAddLader(&O, t2, 2, 0.0, 3.0), 0);
    EXPECT_EQ(O.l[2].QComplex, 1u);
    EXPECT_EQ(O.l[2].VRe, nullptr);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&O, t2, 2).re, 1.0);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&O, t2, 2).im, 3.0);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&O, other, 2).re, 2.0);
    EXPECT_EQ(O.QComplex, 1u);

    // A fresh real length 4: its first term is stored after the recount that
    // its allocation runs, so the flag lags until recounted.
    ASSERT_EQ(OperatorAddLader(&O, t4, 4, -0.5, 0.0), 0);
    EXPECT_EQ(O.QComplex, 1u);
    OperatorRecountQComplex(&O);
    EXPECT_EQ(O.QComplex, 2u);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, t4, 4), -0.5);

    // InitOperatorFixedLength empties a length and recounts.
    ASSERT_EQ(InitOperatorFixedLength(&O, 2, 3), 0);
    EXPECT_EQ(O.l[2].N, 0u);
    EXPECT_EQ(O.l[2].NAloc, 0u);
    EXPECT_EQ(O.l[2].NBitsKey, 3u);
    EXPECT_EQ(O.QComplex, 0u);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&O, t2, 2).im, 0.0);
    ASSERT_EQ(RealOperatorAddLader(&O, t2, 2, 4.0), 0);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, t2, 2), 4.0);
    FreeOperator(&O);
}

TEST(OperatorStore, NewLengthsCreateEmptyOnesBetween) {
    OperatorType O = MakeOperator(3, {{3, 5}});
    EXPECT_EQ(O.MaxLength, 3u);
    for (unsigned k = 1; k < 3; k++) {
        EXPECT_EQ(O.l[k].N, 0u);
        EXPECT_EQ(O.l[k].NBitsKey, 0u);
        ASSERT_NE(O.l[k].KeyList, nullptr);
        EXPECT_EQ(O.l[k].KeyList[0], 0u);
    }
    // A term added to such a length goes through its one bucket.
    uint16_t t[1] = {C(2)};
    ASSERT_EQ(RealOperatorAddLader(&O, t, 1, 2.0), 0);
    uint16_t u[1] = {A(2)};
    ASSERT_EQ(RealOperatorAddLader(&O, u, 1, 3.0), 0);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, t, 1), 2.0);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, u, 1), 3.0);
    uint16_t longer[5] = {0, 0, 0, 0, 0};
    EXPECT_EQ(RealOperatorPrefactorLader(&O, longer, 5), 0.0);  // beyond MaxLength

    testing::internal::CaptureStdout();
    EXPECT_NE(MakeRealOperatorFixedLengthComplex(&O, 5), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Warning in MakeRealOperatorFixedLengthComplex:\n"
              "Tried to make a real operator of length 5 complex, but Maxlength is 3\n");
    FreeOperator(&O);
}

TEST(OperatorStore, CopySettingsGivesAnEmptyOperatorOfTheSameShape) {
    OperatorType src = MakeOperator(10, {{2, 7}, {4, 9}});
    OperatorSetName(&src, "Source");
    src.NB = 1;
    src.NWord = DeterminantNWord(10, 1);
    src.Restrictions.NRestriction = 1;
    src.Restrictions.MinOcc = (uint32_t*)malloc(4);
    src.Restrictions.MaxOcc = (uint32_t*)malloc(4);
    src.Restrictions.Mask = (uint8_t**)malloc(sizeof(uint8_t*));
    src.Restrictions.Mask[0] = (uint8_t*)malloc(src.NWord);
    src.Restrictions.MinOcc[0] = 1;
    src.Restrictions.MaxOcc[0] = 2;
    memcpy(src.Restrictions.Mask[0], "\xF0\x40\xFF", 3);
    uint16_t t[2] = {A(0), C(9)};
    ASSERT_EQ(OperatorAddLader(&src, t, 2, 0.0, 1.0), 0);

    OperatorType O;
    ASSERT_EQ(InitOperatorCopySettings(&O, src), 0);
    EXPECT_STREQ(O.Name, "Source");
    EXPECT_EQ(O.NF, 10u);
    EXPECT_EQ(O.NB, 1u);
    EXPECT_EQ(O.NWord, 3u);
    EXPECT_EQ(O.MaxLength, 4u);
    EXPECT_EQ(O.l[2].NBitsKey, 7u);
    EXPECT_EQ(O.l[3].NBitsKey, 0u);
    EXPECT_EQ(O.l[4].NBitsKey, 9u);
    EXPECT_EQ(O.l[2].N, 0u);
    EXPECT_EQ(O.QComplex, 0u);
    ASSERT_EQ(O.Restrictions.NRestriction, 1u);
    EXPECT_NE(O.Restrictions.Mask[0], src.Restrictions.Mask[0]);
    EXPECT_EQ(memcmp(O.Restrictions.Mask[0], "\xF0\x40\xFF", 3), 0);
    EXPECT_EQ(O.Restrictions.MinOcc[0], 1u);
    EXPECT_EQ(O.Restrictions.MaxOcc[0], 2u);
    FreeOperator(&src);
    FreeOperator(&O);
}

TEST(OperatorStore, ReadablePrintout) {
    OperatorType O = MakeOperator(4, {{2, 4}, {4, 4}});
    OperatorSetName(&O, "H");
    ASSERT_EQ(RealOperatorAddLader(&O, nullptr, 0, 0.5), 0);
    uint16_t t2[2] = {A(0), C(1)};
    ASSERT_EQ(RealOperatorAddLader(&O, t2, 2, -2.0), 0);
    uint16_t t4[4] = {A(0), A(1), C(2), C(13)};
    ASSERT_EQ(OperatorAddLader(&O, t4, 4, 0.25, 1.0), 0);
    OperatorRecountQComplex(&O);
    EXPECT_EQ(PrintToString(StreamPrintOperatorReadable, O),
              "\nOperator: H\n"
              "QComplex         =          2 (Real==0 or Complex==1 or Mixed==2)\n"
              "MaxLength        =          4 (largest number of product of lader operators)\n"
              "NFermionic modes =          4 (Number of fermions in the one particle basis)\n"
              "NBosonic modes   =          0 (Number of bosons in the one particle basis)\n"
              "\nOperator of Length   0\n"
              "QComplex      =          0 (Real==0 or Complex==1)\n"
              "N             =          1 (number of operators of length   0)\n"
              "|  5.000000000000000E-01\n"
              "\nOperator of Length   2\n"
              "QComplex      =          0 (Real==0 or Complex==1)\n"
              "N             =          1 (number of operators of length   2)\n"
              "C  1 A  0 | -2.000000000000000E+00\n"
              "\nOperator of Length   4\n"
              "QComplex      =          1 (Real==0 or Complex==1)\n"
              "N             =          1 (number of operators of length   4)\n"
              "C 13 C  2 A  1 A  0 |  2.500000000000000E-01  1.000000000000000E+00\n"
              "\n");

    std::string full = PrintToString(StreamPrintOperatorFullReadable, O);
    EXPECT_EQ(full.rfind("\nprintout of Operator: H\n\nGenneral settings\n", 0), 0u);
    for (const char* line :
         {"NWord         =          1 (Number of fermions/8+ number of bosons in the one particle basis)\n",
          "\nOperator of Length   1\n", "NAloc         =          4 (Size of the allocated memory)\n",
          "NBitsKey      =          4 (Number of bits in the key)\n", "\nNon-zero elements of Hash Table\n",
          "   0 | C  1 A  0 | -2.000000000000000E+00 | ->          0\n",
          "   0 | |  5.000000000000000E-01\n"}) {
        EXPECT_NE(full.find(line), std::string::npos) << line;
    }
    FreeOperator(&O);
}

TEST(OperatorStore, ReadsTheTextFileForm) {
    const char text[] =
        "Hopping and more\n"
        "3 0 5\n"
        "2  2 -1  0.5 0.0   trailing words are skipped\n"
        "2  1 -2  0.5 0.0\n"
        "1  3  0.0 1.5\n"
        "0  -1.25 0\n"
        "2  2 -1  0.25 0.0\n";
    FILE* f = fmemopen((void*)text, sizeof(text) - 1, "r");
    OperatorType O;
    ASSERT_EQ(StreamReadOperatorType(&O, f), 0);
    fclose(f);
    EXPECT_STREQ(O.Name, "Hopping and more");
    EXPECT_EQ(O.NF, 3u);
    EXPECT_EQ(O.NWord, 1u);
    EXPECT_EQ(O.MaxLength, 2u);
    EXPECT_EQ(O.l[2].NBitsKey, 8u);
    uint16_t c1a0[2] = {A(0), C(1)};
    uint16_t c0a1[2] = {A(1), C(0)};
    uint16_t c2[1] = {C(2)};
    EXPECT_EQ(RealOperatorPrefactorLader(&O, c1a0, 2), 0.75);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, c0a1, 2), 0.5);
    EXPECT_EQ(O.l[1].QComplex, 1u);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&O, c2, 1).im, 1.5);
    EXPECT_EQ(RealOperatorPrefactorLader(&O, nullptr, 0), -1.25);
    FreeOperator(&O);

    const char bad[] = "X\n2 0 1\n2 3 -1 1.0 0.0\n";  // mode 2 of 2 fermions
    f = fmemopen((void*)bad, sizeof(bad) - 1, "r");
    testing::internal::CaptureStdout();
    EXPECT_EQ(StreamReadOperatorType(&O, f), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error in StreamReadOperatorType, could not read term 1\n");
    fclose(f);
}

TEST(OperatorStore, RangeTests) {
    uint8_t a8[3] = {3, 4, 5};
    uint16_t a16[2] = {0x8000, 7};
    uint32_t a32[1] = {70000};
    EXPECT_EQ(Test_uint8_t_array_in_range(3, 5, a8, 3), 1);
    EXPECT_EQ(Test_uint8_t_array_in_range(4, 5, a8, 3), 0);
    EXPECT_EQ(Test_uint8_t_array_in_range(3, 4, a8, 3), 0);
    EXPECT_EQ(Test_uint8_t_array_in_range(9, 1, a8, 0), 1);
    EXPECT_EQ(Test_uint16_t_array_in_range(0, 0x7FFF, a16, 2), 0);
    EXPECT_EQ(Test_uint16_t_array_in_range(7, 0x8000, a16, 2), 1);
    EXPECT_EQ(Test_uint32_t_array_in_range(0, 65535, a32, 1), 0);
    EXPECT_EQ(Test_uint32_t_array_in_range(70000, 70000, a32, 1), 1);
}
