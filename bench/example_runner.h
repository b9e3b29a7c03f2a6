// Runs one example script of examples/ end to end in a fresh interpreter
// per iteration, as the program does.
#ifndef SKELDA_BENCH_EXAMPLE_RUNNER_H
#define SKELDA_BENCH_EXAMPLE_RUNNER_H

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "host/luahost.h"
#include "host/register.h"

inline void RunExample(benchmark::State& state, const char* script) {
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
        if (luaL_dofile(L, script) != 0) {
            state.SkipWithError(lua_tostring(L, -1));
            lua_close(L);
            return;
        }
        lua_close(L);
    }
}

#endif
