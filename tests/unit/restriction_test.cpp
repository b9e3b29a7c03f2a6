#include <gtest/gtest.h>

#include <lua.hpp>

#include <random>
#include <string>
#include <vector>

#include "manybody/restriction.h"

namespace {

bool Bit(const uint8_t* d, unsigned m) { return (d[m / 8] >> (7 - m % 8)) & 1; }

// A restriction owned by the test, masks of nWord bytes.
struct Ranges {
    std::vector<std::vector<uint8_t>> masks;
    std::vector<uint8_t*> maskPointers;
    std::vector<uint32_t> lo, hi;
    DeterminantRestrictionType R() {
        maskPointers.clear();
        for (auto& m : masks) maskPointers.push_back(m.data());
        return DeterminantRestrictionType{(uint32_t)masks.size(), lo.data(), hi.data(), maskPointers.data()};
    }
};

// Counts by walking the modes one by one.
uint32_t Count(const uint8_t* det, const uint8_t* mask, unsigned nf, unsigned nb, unsigned from, unsigned to) {
    uint32_t n = 0;
    for (unsigned m = from; m < to && m < nf; m++) n += Bit(det, m) && Bit(mask, m);
    (void)nb;
    return n;
}

}  // namespace

TEST(Restriction, DeterminantTestAgainstModeByModeCounts) {
    const unsigned nf = 13, nb = 2, nWord = DeterminantNWord(nf, nb);
    ASSERT_EQ(nWord, 4u);
    EXPECT_EQ(DeterminantNWord(0, 3), 3u);
    EXPECT_EQ(DeterminantNWord(8, 0), 1u);
    std::mt19937 rng(11);
    for (int trial = 0; trial < 300; trial++) {
        Ranges r;
        int n = rng() % 3;
        for (int k = 0; k < n; k++) {
            std::vector<uint8_t> mask(nWord);
            for (auto& b : mask) b = rng();
            mask[1] &= 0xF8;  // padding bits of the last fermion byte stay clear
            r.masks.push_back(mask);
            uint32_t a = rng() % 8, b = rng() % 8;
            r.lo.push_back(std::min(a, b));
            r.hi.push_back(std::max(a, b) + rng() % 200);
        }
        uint8_t det[4] = {(uint8_t)rng(), (uint8_t)(rng() & 0xF8), (uint8_t)(rng() % 4), (uint8_t)(rng() % 100)};
        bool pass = true;
        for (int k = 0; k < n; k++) {
            uint32_t c = Count(det, r.masks[k].data(), nf, nb, 0, nf);
            for (unsigned b = 0; b < nb; b++) c += det[2 + b] & r.masks[k][2 + b];
            pass = pass && c >= r.lo[k] && c <= r.hi[k];
        }
        EXPECT_EQ(QDetNotRestricted(det, nf, nb, nWord, r.R()), pass ? 1 : 0);
    }
}

TEST(Restriction, DisjointRangesOnOneMaskRejectEverything) {
    Ranges r;
    r.masks = {{0xFF}, {0xFF}};
    r.lo = {0, 3};
    r.hi = {2, 8};
    for (unsigned d = 0; d < 256; d++) {
        uint8_t det = (uint8_t)d;
        EXPECT_EQ(QDetNotRestricted(&det, 8, 0, 1, r.R()), 0);
    }
    Ranges none;
    uint8_t det = 0x5A;
    EXPECT_EQ(QDetNotRestricted(&det, 8, 0, 1, none.R()), 1);
}

TEST(Restriction, PruningTestsAgainstTheirDefinition) {
    const unsigned nf = 11, nWord = DeterminantNWord(nf, 0);
    std::mt19937 rng(5);
    for (int trial = 0; trial < 400; trial++) {
        Ranges r;
        int n = 1 + rng() % 2;
        for (int k = 0; k < n; k++) {
            std::vector<uint8_t> mask = {(uint8_t)rng(), (uint8_t)(rng() & 0xE0)};
            r.masks.push_back(mask);
            r.lo.push_back(rng() % 5);
            r.hi.push_back(rng() % 5);
        }
        unsigned mode = rng() % nf;
        uint8_t det[2] = {0, 0};  // modes below `mode` decided, the rest empty
        for (unsigned m = 0; m < mode; m++) {
            if (rng() % 2) det[m / 8] |= (uint8_t)(0x80 >> (m % 8));
        }
        bool cannot = false, must = false;
        for (int k = 0; k < n; k++) {
            const uint8_t* mask = r.masks[k].data();
            if (!Bit(mask, mode)) continue;
            uint32_t below = Count(det, mask, nf, 0, 0, mode);
            uint32_t above = 0;
            for (unsigned m = mode + 1; m < nf; m++) above += Bit(mask, m);
            cannot = cannot || below >= r.hi[k];
            must = must || below + above < r.lo[k];
        }
        EXPECT_EQ(QCanNotOccupy(mode, nf, det, r.R()), cannot ? 1 : 0) << trial;
        EXPECT_EQ(QMustOccupy(mode, nf, det, r.R()), must ? 1 : 0) << trial;
    }
    (void)nWord;
}

namespace {

struct RestrictionScript : testing::Test {
    lua_State* L = nullptr;
    DeterminantRestrictionType R{};
    uint32_t nf = 0, nb = 0;
    void SetUp() override {
        L = luaL_newstate();
        luaL_openlibs(L);
        InitDeterminantRestriction(&R);
    }
    void TearDown() override {
        FreeDeterminantRestriction(&R);
        lua_close(L);
    }
    static int Read(lua_State* L) {
        auto* self = (RestrictionScript*)lua_touserdata(L, 2);
        luaL_setarray_DeterminatRestrictionType(L, 1, &self->R, &self->nf, &self->nb);
        return 0;
    }
    // Reads the table given as script text; returns "" or the error text.
    std::string ReadTable(const std::string& table) {
        lua_pushcfunction(L, Read);
        if (luaL_dostring(L, ("return " + table).c_str()) != 0) return "script failed";
        lua_pushlightuserdata(L, this);
        if (lua_pcall(L, 2, 0, 0) != 0) {
            std::string e = lua_tostring(L, -1);
            lua_pop(L, 1);
            return e;
        }
        return "";
    }
};

}  // namespace

TEST_F(RestrictionScript, RestrictionScriptForms) {
    ASSERT_EQ(ReadTable("{10, 1, {'1111 000000 00', 1, 3}, {{0x0F, 0xC0, 0xFF}, 0, 3}, {'0000000000 0A', 2, 2}}"),
              "");
    EXPECT_EQ(nf, 10u);
    EXPECT_EQ(nb, 1u);
    ASSERT_EQ(R.NRestriction, 3u);
    EXPECT_EQ(R.Mask[0][0], 0xF0);
    EXPECT_EQ(R.Mask[0][1], 0x00);
    EXPECT_EQ(R.Mask[0][2], 0x00);
    EXPECT_EQ(R.Mask[1][0], 0x0F);
    EXPECT_EQ(R.Mask[1][1], 0xC0);
    EXPECT_EQ(R.Mask[1][2], 0xFF);
    EXPECT_EQ(R.Mask[2][2], 0x0A);
    EXPECT_EQ(R.MinOcc[0], 1u);
    EXPECT_EQ(R.MaxOcc[0], 3u);
    EXPECT_EQ(R.MinOcc[2], 2u);
    // The read ranges act: 2 of the first 4 modes; mode 5 plus 2 bosons in
    // the second range; a boson occupation 2 under the mask 0x0A.
    uint8_t det[3] = {0xC4, 0x00, 0x02};
    EXPECT_EQ(QDetNotRestricted(det, 10, 1, 3, R), 1);
    det[2] = 0x03;  // 3 & 0x0A = 2 passes, but 1 + 3 exceeds the second range
    EXPECT_EQ(QDetNotRestricted(det, 10, 1, 3, R), 0);
    FreeDeterminantRestriction(&R);

    ASSERT_EQ(ReadTable("{4, 0}"), "");
    EXPECT_EQ(R.NRestriction, 0u);
    EXPECT_EQ(nf, 4u);
}

TEST_F(RestrictionScript, MalformedRestrictionsRaise) {
    EXPECT_NE(ReadTable("{'x', 0}").find("the first two entries should be the number of fermions"), std::string::npos);
    EXPECT_EQ(ReadTable("{4, 0, {'1100', 1}}"),
              "Error in restrictions, restriction 1 is not of the form {Determinant,minocc,maxocc}\n");
    EXPECT_EQ(ReadTable("{4, 0, {'1100', 1, 2}, {'11002', 1, 2}}"),
              "Error in restrictions, determinant of restriction 2 should be a string of 4 times \"0\" or \"1\" "
              "(NFermion) followed by 0 two-digit hexadecimal numbers (NBoson)\n");
    EXPECT_EQ(ReadTable("{12, 0, {{1}, 1, 2}}"),
              "Error in restrictions, determinant of restriction 1 should be a table of 2 words\n");
    EXPECT_EQ(ReadTable("{4, 0, {'1100', -1, 2}}"),
              "Error in restrictions, minocc and maxocc of restriction 1 should be non-negative numbers\n");
    EXPECT_EQ(R.NRestriction, 0u);  // nothing was read
    EXPECT_NE(ReadTable("7").find("table expected, got number"), std::string::npos);
}
