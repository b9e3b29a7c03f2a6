// The memory-bandwidth yardstick of this machine: plain loops over
// std::vector<double> doing the arithmetic of the state kernels (axpy, dot,
// norm), on the thread count given by OMP_NUM_THREADS.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <vector>

namespace {

void BM_PlainAxpy(benchmark::State& state) {
    const long n = state.range(0);
    std::vector<double> x(n, 1.0), y(n, 2.0);
    for (auto _ : state) {
#pragma omp parallel for schedule(static)
        for (long i = 0; i < n; i++) y[i] += 0.5 * x[i];
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * n * 3 * sizeof(double));
    state.counters["threads"] = omp_get_max_threads();
}

void BM_PlainDot(benchmark::State& state) {
    const long n = state.range(0);
    std::vector<double> x(n, 1.0), y(n, 2.0);
    for (auto _ : state) {
        double s = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : s)
        for (long i = 0; i < n; i++) s += x[i] * y[i];
        benchmark::DoNotOptimize(s);
    }
    state.SetBytesProcessed(state.iterations() * n * 2 * sizeof(double));
    state.counters["threads"] = omp_get_max_threads();
}

}  // namespace

BENCHMARK(BM_PlainAxpy)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainDot)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
