// The vector steps of the Krylov solvers on wave functions that share one
// basis: SameBasis axpy (a += x b), dot product and norm, for states of 10^6
// and 10^7 elements, in GB/s of coefficient traffic (axpy reads a and b and
// writes a: 24 bytes per element; dot reads 16, norm 8).  The same loops over
// std::vector<double> (as in bench_bandwidth) stand beside them as the
// memory-bandwidth yardstick.  Rates are per wall-clock second, since the
// loops run on several threads.  Threads: OMP_NUM_THREADS.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <cmath>
#include <map>
#include <vector>

#include "manybody/wavefunction_algebra.h"

namespace {

struct Pair {
    WaveFunctionType a, b;  // b shares the basis of a
};

// Built once per size: determinant k is the four bytes of k.
Pair& States(long n) {
    static std::map<long, Pair> cache;
    auto it = cache.find(n);
    if (it != cache.end()) return it->second;
    Pair p;
    p.a.QComplex = 0;
    p.a.NFermion = 32;
    p.a.NBoson = 0;
    p.a.NBitsKey = 22;
    if (WaveFunctionInit(&p.a)) abort();
    for (long k = 1; k <= n; k++) {
        uint8_t d[4] = {(uint8_t)(k >> 24), (uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
        if (RealWaveFunctionAddElement(&p.a, d, 1.0 / (double)k)) abort();
    }
    if (WaveFunctionInitCopyBasis(&p.b, p.a)) abort();
    if (RealWaveFunctionAddSameBasis(p.b, p.a)) abort();
    return cache.emplace(n, p).first->second;
}

void Finish(benchmark::State& state, long bytesPerElement) {
    state.SetBytesProcessed(state.iterations() * state.range(0) * bytesPerElement);
    state.counters["threads"] = omp_get_max_threads();
}

void BM_SameBasisAxpy(benchmark::State& state) {
    Pair& p = States(state.range(0));
    double x = 1e-3;
    for (auto _ : state) {
        RealWaveFunctionAddMultipliedSameBasis(p.a, p.b, x);
        x = -x;  // keeps the values where they are
        benchmark::ClobberMemory();
    }
    Finish(state, 24);
}

void BM_SameBasisDot(benchmark::State& state) {
    Pair& p = States(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(RealWaveFunctionDotProductSameBasis(p.a, p.b));
    Finish(state, 16);
}

void BM_Norm(benchmark::State& state) {
    Pair& p = States(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(RealWaveFunctionCalculateNorm(p.a));
    Finish(state, 8);
}

void BM_PlainVectorAxpy(benchmark::State& state) {
    const long n = state.range(0);
    std::vector<double> x(n, 1.0), y(n, 2.0);
    for (auto _ : state) {
#pragma omp parallel for schedule(static)
        for (long i = 0; i < n; i++) y[i] += 0.5 * x[i];
        benchmark::ClobberMemory();
    }
    Finish(state, 24);
}

void BM_PlainVectorDot(benchmark::State& state) {
    const long n = state.range(0);
    std::vector<double> x(n, 1.0), y(n, 2.0);
    for (auto _ : state) {
        double s = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : s)
        for (long i = 0; i < n; i++) s += x[i] * y[i];
        benchmark::DoNotOptimize(s);
    }
    Finish(state, 16);
}

void BM_PlainVectorNorm(benchmark::State& state) {
    const long n = state.range(0);
    std::vector<double> x(n, 1.0);
    for (auto _ : state) {
        double s = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : s)
        for (long i = 0; i < n; i++) s += x[i] * x[i];
        benchmark::DoNotOptimize(std::sqrt(s));
    }
    Finish(state, 8);
}

}  // namespace

BENCHMARK(BM_SameBasisAxpy)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainVectorAxpy)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SameBasisDot)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainVectorDot)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Norm)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainVectorNorm)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
