// Evaluations of the Faddeeva function per second, over the grid of the unit
// tests (every branch border of w: axes, Zaghloul-Ali band, continued
// fraction, asymptotic forms, lower half plane), and over its three regions
// apart.  One thread: w is called once per energy point inside kernels that
// are parallel themselves.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "../tests/unit/faddeeva_reference.h"
#include "base/specialfunctions.h"

namespace {

enum Region { kAll, kAxes, kSums, kFraction };

// Which method FaddeevaW takes at z, by the same borders.
Region RegionOf(double x, double y) {
    if (x == 0 || y == 0) return kAxes;
    double xs = std::fabs(x), ya = std::fabs(y);
    if (ya > 7 || (xs > 6 && (ya > 0.1 || (xs > 8 && ya > 1e-10) || xs > 28))) return kFraction;
    return kSums;
}

std::vector<Complex16> Points(Region region) {
    std::vector<Complex16> points;
    for (const FaddeevaReferencePoint &p : kFaddeevaWReference)
        if (region == kAll || RegionOf(p.x, p.y) == region) points.push_back(Cnum(p.x, p.y));
    return points;
}

void BM_FaddeevaW(benchmark::State &state) {
    const std::vector<Complex16> points = Points(static_cast<Region>(state.range(0)));
    for (auto _ : state) {
        for (Complex16 z : points) {
            Complex16 w = FaddeevaW(z);
            benchmark::DoNotOptimize(w);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(points.size()));
    state.counters["points"] = static_cast<double>(points.size());
}

}  // namespace

BENCHMARK(BM_FaddeevaW)->Arg(kAll)->ArgName("all");
BENCHMARK(BM_FaddeevaW)->Arg(kAxes)->ArgName("axes");
BENCHMARK(BM_FaddeevaW)->Arg(kSums)->ArgName("sums");
BENCHMARK(BM_FaddeevaW)->Arg(kFraction)->ArgName("fraction");

BENCHMARK_MAIN();
