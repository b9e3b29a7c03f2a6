// The RIXS example end to end: examples/rixs_nio.lua (ground state, 41
// incoming energies across the Ni L3 edge, the map, its file and picture);
// "per_energy" is the time per incoming energy.
#include "example_runner.h"

namespace {

void BM_RixsNiO(benchmark::State& state) {
    RunExample(state, "rixs_nio.lua");
    state.counters["per_energy"] =
        benchmark::Counter(41, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_RixsNiO)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
