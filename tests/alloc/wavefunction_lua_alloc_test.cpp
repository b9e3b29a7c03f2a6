// Out-of-memory paths of the wave-function script calls.  Each allocation of
// a chunk is made to fail in turn, once: the call that meets it runs a full
// collection, tries again and so must still give the same result.
#include <gtest/gtest.h>

#include <string>

#include "fail_alloc.h"
#include "host/luahost.h"
#include "host/register.h"

namespace {

std::string RunChunk(lua_State* L, const char* chunk) {
    int status = luaL_dostring(L, chunk);
    std::string s = lua_tostring(L, -1) != nullptr ? lua_tostring(L, -1) : "";
    lua_settop(L, 0);
    return status == LUA_OK ? s : "error: " + s;
}

}  // namespace

TEST(WavefunctionLuaAlloc, EveryCallRetriesAfterACollection) {
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    SkeldaOpenInterpreterAdditions(L);
    SkeldaRegisterHostLibraries(L);
    luaopen_ssp(L);
    SkeldaRegisterImaginaryUnit(L);
    ASSERT_EQ(RunChunk(L,
                       "p = NewWavefunction(4, 0, {{'1100', 1}, {'0011', 2}})\n"
                       "q = NewWavefunction(4, 0, {{'0011', 3}, {'1010', -1}})"),
              "");
    const char* chunk =
        "local s = p + q - 2 * q\n"
        "local z = (I * p) / (1 + I)\n"
        "local e, b = Expand(s, {1}), ExpandToBasis(s)\n"
        "local g = Orthonormalize({p, q}, {{'Method', 'GramSchmidt'}})\n"
        "local o = Orthonormalize({p, q})\n"
        "local d, c, cj = s.Det(2), Chop(Copy(s), 1.5), Conjugate(z)\n"
        "s.NF = 6\n"
        "s.NBitsKey = 5\n"
        "return tostring(s) .. tostring(z) .. tostring(e[1]) .. tostring(e[2]) .. tostring(b[3])\n"
        "  .. tostring(g[2]) .. tostring(o[1]) .. tostring(d) .. tostring(c) .. tostring(cj)\n"
        "  .. tostring(p * q) .. tostring(-p)";
    FailAllocResetCount();
    const std::string want = RunChunk(L, chunk);
    const unsigned long count = FailAllocCount();
    ASSERT_GT(count, 0u);
    ASSERT_EQ(want.rfind("error", 0), std::string::npos) << want;
    for (unsigned long n = 1; n <= count; n++) {
        FailAllocAfter(n);
        const std::string got = RunChunk(L, chunk);
        FailAllocDisarm();
        EXPECT_EQ(got, want) << "allocation " << n << " of " << count;
    }
    lua_close(L);
}
