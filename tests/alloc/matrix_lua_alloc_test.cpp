// Out-of-memory paths of the matrix script calls.  Each allocation of a call
// is made to fail in turn, once: the call runs a full collection, tries again
// and so must still give the right result.  The interpreter's own memory
// lies in its shared library and is never made to fail here.
#include <gtest/gtest.h>

#include <string>

#include "fail_alloc.h"
#include "host/luahost.h"
#include "host/register.h"

namespace {

struct State {
    lua_State* L;
    State() : L(luaL_newstate()) {
        luaL_openlibs(L);
        SkeldaOpenInterpreterAdditions(L);
        SkeldaRegisterHostLibraries(L);
        luaopen_ssp(L);
        SkeldaRegisterImaginaryUnit(L);
    }
    ~State() { lua_close(L); }

    std::string Run(const char* chunk) {
        int status = luaL_dostring(L, chunk);
        std::string s = lua_tostring(L, -1) != nullptr ? lua_tostring(L, -1) : "";
        lua_settop(L, 0);
        return status == LUA_OK ? s : "error: " + s;
    }
};

// Runs the chunk once to count the allocations, then again with each of
// them failing in turn; every run must give the same text.
void EveryAllocationFailsOnce(const char* setup, const char* chunk) {
    State s;
    ASSERT_EQ(s.Run(setup), "");
    FailAllocResetCount();
    std::string want = s.Run(chunk);
    unsigned long count = FailAllocCount();
    ASSERT_GT(count, 0u);
    ASSERT_EQ(want.rfind("error", 0), std::string::npos) << want;
    for (unsigned long n = 1; n <= count; n++) {
        FailAllocAfter(n);
        std::string got = s.Run(chunk);
        FailAllocDisarm();
        EXPECT_EQ(got, want) << "allocation " << n << " of " << count;
    }
}

}  // namespace

TEST(MatrixLuaAlloc, ReadingAndProductsRetryAfterACollection) {
    EveryAllocationFailsOnce(
        "A = setmetatable({{1, 2, 3}, {4, 5, 6}}, MatrixMeta); C = setmetatable({{1, I}, {-I, 2}}, MatrixMeta)",
        "return tostring(Matrix.ToTable(Matrix.ToUserdata(A) * Transpose(A)))"
        " .. tostring(C * C) .. tostring(A + A) .. tostring(Matrix.Transpose(Matrix.ToUserdata(A)))");
}

TEST(MatrixLuaAlloc, BlocksRetryAfterACollection) {
    EveryAllocationFailsOnce("A = {{1, 2}, {3, 4}}",
                             "return tostring(Matrix.AddSpin(A)) .. tostring(Matrix.Enlarge(A, 2))"
                             " .. tostring(Matrix.Identity(2, {{'Userdata', true}}) * 2)");
}
