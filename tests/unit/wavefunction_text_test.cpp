// Determinants as text, wave-function files and the printouts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "manybody/wavefunction.h"

namespace {

std::vector<uint8_t> Parse(unsigned NF, unsigned NB, const char* text, std::string* out) {
    testing::internal::CaptureStdout();
    uint8_t* det = StringToDet(NF, NB, text);
    *out = testing::internal::GetCapturedStdout();
    std::vector<uint8_t> bytes(det, det + WaveFunctionNWord(NF, NB));
    free(det);
    return bytes;
}

std::string Text(unsigned NF, unsigned NB, std::vector<uint8_t> det) {
    char* s = DetToString(NF, NB, det.data());
    std::string text(s);
    free(s);
    return text;
}

TEST(DeterminantText, ParsesModesBlanksAndBosons) {
    std::string out;
    EXPECT_EQ(Parse(4, 0, "1100", &out), std::vector<uint8_t>({0xC0}));
    EXPECT_EQ(Parse(4, 0, " 1 1 0 0 ", &out), std::vector<uint8_t>({0xC0}));
    EXPECT_EQ(Parse(9, 0, "0000 0000 1", &out), std::vector<uint8_t>({0x00, 0x80}));
    EXPECT_EQ(Parse(4, 2, "1001 0A ff", &out), std::vector<uint8_t>({0x90, 0x0A, 0xFF}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(Text(4, 0, {0xC0}), "\"1100\"");
    EXPECT_EQ(Text(10, 0, {0xC0, 0x7F}), "\"1100000001\"");  // padding bits do not show
    EXPECT_EQ(Text(4, 2, {0x90, 0x0A, 0xFF}), "\"1001 0A FF\"");

    std::mt19937 rng(3);
    for (int k = 0; k < 20; k++) {
        std::vector<uint8_t> det(9);
        for (auto& b : det) b = (uint8_t)rng();
        det[8] &= 0x80;  // 65 modes
        std::string quoted = Text(65, 0, det);
        EXPECT_EQ(Parse(65, 0, quoted.substr(1, quoted.size() - 2).c_str(), &out), det);
    }
}

TEST(DeterminantText, MalformedTextIsReportedAndNeverAborts) {
    std::string out;
    EXPECT_EQ(Parse(4, 0, "11x1", &out), std::vector<uint8_t>({0xD0}));
    EXPECT_EQ(out, "Error in StringToDet, expected \"1\", \"0\" or \" \" on position 3 of the string, got x\n");

    EXPECT_EQ(Parse(4, 0, "11", &out), std::vector<uint8_t>({0x00}));
    EXPECT_EQ(out,
              "Error in StringToDet, length of string(2) different from NFermion(4)+2*NBoson(0)\n"
              "Error in String to Determinant, less elements in determinant then Fermions\n");

    EXPECT_EQ(Parse(4, 0, "1 1", &out), std::vector<uint8_t>({0x00}));
    EXPECT_EQ(out, "Error in StringToDet, length of string(3) different from NFermion(4)+2*NBoson(0)\n"
                   "Error in String to Determinant, less elements in determinant then Fermions\n");

    EXPECT_EQ(Parse(4, 0, "11001", &out), std::vector<uint8_t>({0x00}));
    EXPECT_EQ(out, "Error in String to Determinant, more elements in determinant then Fermions + Bosons\n");
}

// ---- Files ----------------------------------------------------------------

WaveFunctionType RandomState(bool cplx, uint32_t n, uint32_t seed) {
    std::mt19937_64 rng(seed);
    std::normal_distribution<double> gauss;
    WaveFunctionType psi;
    psi.QComplex = cplx;
    psi.NFermion = 70;
    psi.NBoson = 0;
    psi.NBitsKey = 14;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    strcpy(psi.Name, "random state");
    uint8_t det[9];
    while (psi.N < n) {
        for (auto& b : det) b = (uint8_t)rng();
        det[8] &= 0xFC;
        double re = gauss(rng), im = gauss(rng);
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, det, re, im);
        else
            RealWaveFunctionAddElement(&psi, det, re);
    }
    return psi;
}

// The read state has the same elements in the same order.
void ExpectSameState(const WaveFunctionType& a, const WaveFunctionType& b, double relTol) {
    EXPECT_STREQ(a.Name, b.Name);
    ASSERT_EQ(a.QComplex, b.QComplex);
    ASSERT_EQ(a.N, b.N);
    ASSERT_EQ(a.NFermion, b.NFermion);
    ASSERT_EQ(a.NWord, b.NWord);
    for (uint32_t i = 1; i <= a.N; i++) {
        ASSERT_EQ(0, memcmp(WaveFunctionDet(a, i), WaveFunctionDet(b, i), a.NWord));
        EXPECT_NEAR(WaveFunctionRe(b, i), WaveFunctionRe(a, i), relTol * fabs(WaveFunctionRe(a, i)));
        if (a.QComplex) {
            EXPECT_NEAR(WaveFunctionIm(b, i), WaveFunctionIm(a, i), relTol * fabs(WaveFunctionIm(a, i)));
        }
    }
    EXPECT_EQ(WaveFunctionIndexDet(&b, WaveFunctionDet(a, a.N)), a.N);
}

TEST(WaveFunctionFiles, PlainAndBinaryRoundTrip) {
    for (bool cplx : {false, true}) {
        WaveFunctionType psi = RandomState(cplx, 20000, 11 + cplx);
        for (bool binary : {false, true}) {
            FILE* f = tmpfile();
            ASSERT_NE(f, nullptr);
            ASSERT_EQ(binary ? StreamPrintWaveFunctionPlainBinary(psi, f) : StreamPrintWaveFunctionPlain(psi, f), 0);
            rewind(f);
            WaveFunctionType back;
            back.NBitsKey = 5;
            ASSERT_EQ(binary ? StreamReadWaveFunctionPlainBinary(&back, f) : StreamReadWaveFunctionPlain(&back, f), 0);
            fclose(f);
            EXPECT_EQ(back.NBitsKey, 5u);  // the width is the reader's choice
            // "%23.15E" keeps 16 significant digits; the binary form is exact.
            ExpectSameState(psi, back, binary ? 0.0 : 6e-16);
            WaveFunctionFree(&back);
        }
        WaveFunctionFree(&psi);
    }
}

std::string ReadAll(FILE* f) {
    rewind(f);
    std::string text;
    int c;
    while ((c = fgetc(f)) != EOF) text += (char)c;
    return text;
}

TEST(WaveFunctionFiles, PlainTextLayout) {
    WaveFunctionType psi;
    psi.QComplex = 1;
    psi.NFermion = 12;
    psi.NBoson = 0;
    psi.NBitsKey = 16;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    uint8_t a[2] = {0xC0, 0x10}, b[2] = {0x0F, 0x00};
    ComplexWaveFunctionAddElement(&psi, a, 0.5, -0.25);
    ComplexWaveFunctionAddElement(&psi, b, -1.0, 0.0);
    FILE* f = tmpfile();
    StreamPrintWaveFunctionPlain(psi, f);
    EXPECT_EQ(ReadAll(f),
              "Wave Function\n1\n2\n12\n0\n"
              "  5.000000000000000E-01  -2.500000000000000E-01 C010\n"
              " -1.000000000000000E+00   0.000000000000000E+00 0F00\n"
              "\n");
    fclose(f);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionFiles, RepeatedDeterminantMergesOnReading) {
    FILE* f = tmpfile();
    fputs("merged\n0\n3\n8\n0\n"
          "  1.500000000000000E+00 C0\n"
          "  2.000000000000000E+00 03\n"
          " -0.500000000000000E+00 C0\n\n",
          f);
    rewind(f);
    WaveFunctionType psi;
    psi.NBitsKey = 16;
    ASSERT_EQ(StreamReadWaveFunctionPlain(&psi, f), 0);
    fclose(f);
    EXPECT_STREQ(psi.Name, "merged");
    EXPECT_EQ(psi.N, 2u);
    uint8_t c0 = 0xC0, c3 = 0x03;
    EXPECT_EQ(WaveFunctionRe(psi, WaveFunctionIndexDet(&psi, &c0)), 1.0);
    EXPECT_EQ(WaveFunctionRe(psi, WaveFunctionIndexDet(&psi, &c3)), 2.0);
    WaveFunctionFree(&psi);

    // A file that ends early is refused and leaves nothing allocated.
    f = tmpfile();
    fputs("short\n0\n3\n8\n0\n  1.0E+00 C0\n", f);
    rewind(f);
    testing::internal::CaptureStdout();
    EXPECT_EQ(StreamReadWaveFunctionPlain(&psi, f), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error reading element 2 of 3 in StreamReadWaveFunctionPlain\n");
    EXPECT_EQ(psi.KeyList, nullptr);
    fclose(f);
}

// ---- Printouts ------------------------------------------------------------

WaveFunctionType Small(bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx;
    psi.NFermion = 4;
    psi.NBoson = 0;
    psi.NBitsKey = 16;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    uint8_t a = 0xC0, b = 0x60;
    WaveFunctionAddElement(&psi, &a, sqrt(0.5), cplx ? 0.5 : 0.0);
    WaveFunctionAddElement(&psi, &b, -sqrt(0.5), 0.0);
    return psi;
}

std::string Printed(int (*print)(WaveFunctionType, FILE*), const WaveFunctionType& psi) {
    FILE* f = tmpfile();
    print(psi, f);
    std::string text = ReadAll(f);
    fclose(f);
    return text;
}

TEST(WaveFunctionPrint, ReadableListing) {
    const char* head =
        "\nWaveFunction: Wave Function\n"
        "QComplex         =          %d (Real==0 or Complex==1)\n"
        "N                =          2 (Number of basis functions used to discribe psi)\n"
        "NFermionic modes =          4 (Number of fermions in the one particle basis)\n"
        "NBosonic modes   =          0 (Number of bosons in the one particle basis)\n";
    char expected[2048];
    WaveFunctionType real = Small(false);
    snprintf(expected, sizeof(expected), head, 0);
    std::string want = std::string(expected) +
                       "\n#      pre-factor         Determinant\n"
                       "   1   7.071067811865E-01       C0\n"
                       "   2  -7.071067811865E-01       60\n";
    EXPECT_EQ(Printed(StreamPrintWaveFunctionReadable, real), want);
    char* text = StringPrintWaveFunctionReadable(real);
    EXPECT_EQ(std::string(text), want);
    free(text);

    WaveFunctionType cplx = Small(true);
    snprintf(expected, sizeof(expected), head, 1);
    EXPECT_EQ(Printed(StreamPrintWaveFunctionReadable, cplx),
              std::string(expected) +
                  "\n#      pre-factor             +I  pre-factor         Determinant\n"
                  "   1   7.071067811865E-01         5.000000000000E-01       C0\n"
                  "   2  -7.071067811865E-01         0.000000000000E+00       60\n");

    FILE* f = tmpfile();
    StreamPrintWaveFunctionReadableTruncated(cplx, 0.8, f);
    EXPECT_EQ(ReadAll(f),
              "\nprintout of WaveFunction: Wave Function\n"
              "Only determinants with a norm of the prefactor larger than  8.000000000000000E-01 will be printed\n"
              "\n#      pre-factor             +I  pre-factor         Determinant\n"
              "   1   7.071067811865E-01         5.000000000000E-01       C0\n");
    fclose(f);

    std::string full = Printed(StreamPrintWaveFunctionFullReadable, cplx);
    EXPECT_NE(full.find("NBlok         =          1 (Number of bloks needed to store psi)\n"), std::string::npos);
    EXPECT_NE(full.find("NWord         =          1 (NFermion/8)+NBoson\n"), std::string::npos);
    EXPECT_NE(full.find(", key=          1\n"), std::string::npos);
    EXPECT_NE(full.find(", key=          2\n"), std::string::npos);
    WaveFunctionFree(&real);
    WaveFunctionFree(&cplx);
}

TEST(WaveFunctionPrint, DensityIsTheOccupationOfANormalisedState) {
    WaveFunctionType psi = Small(false);  // (|1100> - |0110>)/sqrt(2)
    EXPECT_EQ(Printed(StreamPrintWaveFunctionDensity, psi),
              "Onsite Density (-only the diagonal of the density matrix-)\n"
              "    0  5.000000000000001E-01\n"
              "    1  1.000000000000000E+00\n"
              "    2  5.000000000000001E-01\n"
              "    3  0.000000000000000E+00\n");
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionPrintParallel, HistogramRowsAddUpToTheNorm) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 32;
    psi.NBoson = 0;
    psi.NBitsKey = 16;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    const double values[] = {2.0, 0.5, 1.0, 0.2, 0.05, 1e-5, 0.0};
    double weights[3] = {4.0 + 0.25 + 1.0 + 0.04, 0.0025, 1e-10};
    for (uint32_t k = 0; k < 7; k++) {
        uint8_t det[4] = {0, 0, 0, (uint8_t)k};
        RealWaveFunctionAddElement(&psi, det, values[k]);
    }
    // Many equal small values, so that every thread has work.
    for (uint32_t k = 1; k <= 30000; k++) {
        uint8_t det[4] = {1, (uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
        RealWaveFunctionAddElement(&psi, det, 0.001);
    }
    weights[2] += 30000 * 1e-6;
    FILE* f = tmpfile();
    ASSERT_EQ(StreamPrintWaveFunctionPrefactorHistogram(psi, 10.0, 3, f), 0);
    char expected[512];
    snprintf(expected, sizeof(expected),
             "\nHistogram of prefactors in Wave-function\n"
             "(10.000000)^(- 0) to (10.000000)^(- 1) | %22.15E\n"
             "(10.000000)^(- 1) to (10.000000)^(- 2) | %22.15E\n"
             "(10.000000)^(- 2) to (10.000000)^(- 3) | %22.15E\n",
             weights[0], weights[1], weights[2]);
    std::string text = ReadAll(f);
    fclose(f);
    // Sums in another order may differ in the last digit; compare numbers.
    double got[3];
    ASSERT_EQ(sscanf(text.c_str(),
                     "\nHistogram of prefactors in Wave-function\n(10.000000)^(- 0) to (10.000000)^(- 1) | %lf\n"
                     "(10.000000)^(- 1) to (10.000000)^(- 2) | %lf\n(10.000000)^(- 2) to (10.000000)^(- 3) | %lf",
                     &got[0], &got[1], &got[2]),
              3)
        << text;
    for (int k = 0; k < 3; k++) EXPECT_NEAR(got[k], weights[k], 1e-12 * weights[k]) << k;
    EXPECT_EQ(text.size(), strlen(expected));
    WaveFunctionFree(&psi);
}

}  // namespace
