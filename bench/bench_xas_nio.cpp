// The main example end to end: examples/xas_nio.lua (ground state of the
// NiO cluster, absorption spectra, averaging, broadening, file), run in a
// fresh interpreter per iteration.  The example prints the time of each
// stage itself.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>

#include "host/luahost.h"
#include "host/register.h"

namespace {

void BM_XasNiO(benchmark::State& state) {
    if (chdir(SKELDA_SOURCE_DIR "/examples") != 0) {
        state.SkipWithError("no examples folder");
        return;
    }
    for (auto _ : state) {
        lua_State* L = luaL_newstate();
        luaL_openlibs(L);
        SkeldaOpenInterpreterAdditions(L);
        SkeldaRegisterHostLibraries(L);
        luaopen_ssp(L);
        SkeldaRegisterImaginaryUnit(L);
        if (luaL_dofile(L, "xas_nio.lua") != 0) {
            state.SkipWithError(lua_tostring(L, -1));
            lua_close(L);
            return;
        }
        lua_close(L);
    }
}
BENCHMARK(BM_XasNiO)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
