#include <gtest/gtest.h>

#include <string>

#include "atomic/basis.h"
#include "fail_alloc.h"

// A failed allocation of the record is reported with the one message of the
// twelve compact basis changes, by each of them.
TEST(BasisAlloc, CompactBasisChangesReportFailedRecords) {
    int (*const changes[])(int, CompactMatrixType*) = {
        SphericalHarmonicYToZ,   SphericalHarmonicZToY,   SphericalHarmonicYToK,   SphericalHarmonicKToY,
        SphericalHarmonicZToK,   SphericalHarmonicKToZ,   SphericalHarmonicYTojjz, SphericalHarmonicjjzToY,
        SphericalHarmonicZTojjz, SphericalHarmonicjjzToZ, SphericalHarmonicKTojjz, SphericalHarmonicjjzToK};
    for (auto f : changes) {
        for (unsigned long n = 1; n <= 2; n++) {  // the name, then the data block
            CompactMatrixType C;
            testing::internal::CaptureStdout();
            FailAllocAfter(n);
            int status = f(2, &C);
            FailAllocDisarm();
            std::string out = testing::internal::GetCapturedStdout();
            EXPECT_EQ(status, 1);
            const std::string line = "InitCompactMatrix failed in SphericalHarmonicYToZ\n";
            ASSERT_GE(out.size(), line.size());
            EXPECT_EQ(out.substr(out.size() - line.size()), line);
        }
    }
}
