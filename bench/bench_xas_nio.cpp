// The main example end to end: examples/xas_nio.lua (ground state of the
// NiO cluster, absorption spectra, averaging, broadening, file, picture).
// The example prints the time of each stage itself.
#include "example_runner.h"

namespace {

void BM_XasNiO(benchmark::State& state) { RunExample(state, "xas_nio.lua"); }
BENCHMARK(BM_XasNiO)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
