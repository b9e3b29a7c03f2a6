// Out-of-memory paths of the plain cubic spline: the scratch array of the
// solve and each array of the record are made to fail in turn.  A failure
// prints its line, returns 1 and leaves y2 untouched or the record empty.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "fail_alloc.h"
#include "numeric/spline.h"

namespace {

const double kX[] = {0.0, 0.5, 1.5, 2.0};
const double kY[] = {1.0, -1.0, 2.0, 0.0};

}  // namespace

TEST(SplineAlloc, ScratchFailureLeavesSecondDerivativesUntouched) {
    double y2[4] = {7.0, 7.0, 7.0, 7.0};
    testing::internal::CaptureStdout();
    FailAllocAfter(1);
    int result = CreateCubicSpline(kX, kY, 4, std::nan(""), 1.0, y2);
    FailAllocDisarm();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "malloc for u failed in CreateCubicSpline\n");
    EXPECT_EQ(result, 1);
    for (double v : y2) EXPECT_EQ(v, 7.0);
    EXPECT_EQ(CreateCubicSpline(kX, kY, 4, std::nan(""), 1.0, y2), 0);
    EXPECT_EQ(y2[0], 0.0);
}

TEST(SplineAlloc, EveryAllocationOfTheRecordFailsCleanly) {
    CubicSplineType reference;
    ASSERT_EQ(CreateCubicSpline(&reference, kX, kY, 4, 0.5, std::nan("")), 0);
    for (unsigned long n = 1; n <= 4; n++) {
        CubicSplineType s{9, nullptr, nullptr, nullptr};
        testing::internal::CaptureStdout();
        FailAllocAfter(n);
        int result = CreateCubicSpline(&s, kX, kY, 4, 0.5, std::nan(""));
        FailAllocDisarm();
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 1) << n;
        EXPECT_NE(out.find("failed in CreateCubicSpline\n"), std::string::npos) << n;
        EXPECT_EQ(s.n, 0u);
        EXPECT_EQ(s.x, nullptr);
        EXPECT_EQ(s.y, nullptr);
        EXPECT_EQ(s.y2, nullptr);
        FreeCubicSpline(&s);
    }
    CubicSplineType s;
    ASSERT_EQ(CreateCubicSpline(&s, kX, kY, 4, 0.5, std::nan("")), 0);
    EXPECT_EQ(EvaluateCubicSpline(&s, 1.2), EvaluateCubicSpline(&reference, 1.2));
    FreeCubicSpline(&s);
    FreeCubicSpline(&reference);
}
