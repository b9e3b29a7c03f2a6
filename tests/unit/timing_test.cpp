// Stopwatch tables and the verbosity mask.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/timing.h"
#include "base/verbosity.h"

namespace {

std::string PrintedTiming(const TimeType& T) {
    FILE* f = tmpfile();
    EXPECT_NE(f, nullptr);
    StreamPrintTiming(T, f);
    std::string s;
    rewind(f);
    for (int c; (c = fgetc(f)) != EOF;) s += (char)c;
    fclose(f);
    return s;
}

const char* const kHeading = "Timing results\n   Total_time | NumberOfRuns | Running | Name\n";

TEST(Timing, EntriesGrowPastOneBlockAndKeepTheirOrder) {
    TimeType T;
    InitializeTiming(&T);
    EXPECT_EQ(PrintedTiming(T), kHeading);
    for (int i = 0; i < 40; i++) ASSERT_EQ(BeginTiming(("w" + std::to_string(i)).c_str(), &T), 0);
    EXPECT_EQ(T.N, 40u);
    EXPECT_EQ(T.NAloc, 48u);
    EXPECT_STREQ(T.Name[0], "w0");
    EXPECT_STREQ(T.Name[39], "w39");
    // A name is found again, not added twice.
    ASSERT_EQ(EndTiming("w17", &T), 0);
    ASSERT_EQ(BeginTiming("w17", &T), 0);
    EXPECT_EQ(T.N, 40u);
    EXPECT_EQ(T.NumberOfRuns[17], 1u);
    FreeTiming(&T);
    EXPECT_EQ(T.N, 0u);
    EXPECT_EQ(T.Name, nullptr);
}

TEST(Timing, MisuseIsReportedAndChangesNothing) {
    TimeType T;
    InitializeTiming(&T);
    testing::internal::CaptureStdout();
    EXPECT_EQ(EndTiming("a", &T), 1);
    EXPECT_EQ(T.N, 0u);
    ASSERT_EQ(BeginTiming("a", &T), 0);
    time_t first = T.Start[0];
    T.Start[0] = first - 50;
    EXPECT_EQ(BeginTiming("a", &T), 1);
    EXPECT_EQ(T.Start[0], first - 50) << "the first start stands";
    ASSERT_EQ(EndTiming("a", &T), 0);
    EXPECT_EQ(EndTiming("a", &T), 1);
    EXPECT_EQ(T.NumberOfRuns[0], 1u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Trying to end a timing for a\nBut timing never started\nEndTiming ignored\n"
              "Trying to start a timing for a\nBut timing still runs\nBeginTiming ignored\n"
              "Trying to end a timing for a\nBut timing already ended\nEndTiming ignored\n");
    FreeTiming(&T);
}

TEST(Timing, RunsAddUpAndARunningWatchShowsOnlyItsFinishedRuns) {
    TimeType T;
    InitializeTiming(&T);
    ASSERT_EQ(BeginTiming("solve", &T), 0);
    T.Start[0] -= 100;  // as if started 100 s ago
    ASSERT_EQ(EndTiming("solve", &T), 0);
    uint32_t afterFirst = T.Total[0];
    EXPECT_GE(afterFirst, 100u);
    ASSERT_EQ(BeginTiming("solve", &T), 0);
    T.Start[0] -= 3600;
    EXPECT_EQ(T.Total[0], afterFirst) << "a running watch adds nothing yet";
    EXPECT_EQ(T.Running[0], 1u);
    ASSERT_EQ(EndTiming("solve", &T), 0);
    EXPECT_GE(T.Total[0], afterFirst + 3600);
    EXPECT_EQ(T.NumberOfRuns[0], 2u);
    EXPECT_EQ(T.Running[0], 0u);
    FreeTiming(&T);
}

TEST(Timing, PrintSplitsDaysHoursMinutesSeconds) {
    TimeType T;
    InitializeTiming(&T);
    ASSERT_EQ(BeginTiming("short", &T), 0);
    ASSERT_EQ(BeginTiming("long", &T), 0);
    ASSERT_EQ(BeginTiming("day", &T), 0);
    T.Total[0] = 3600 + 2 * 60 + 5;                 // 1:02:05
    T.Total[1] = 2 * 86400 + 23 * 3600 + 59 * 60 + 59;  // 2 days 23:59:59
    T.Total[2] = 86400;                                // exactly one day
    T.NumberOfRuns[1] = 123456;
    T.Running[0] = 0;
    EXPECT_EQ(PrintedTiming(T), std::string(kHeading) +
                                    "      1:02:05 |            0 |       0 | short\n"
                                    "   2 23:59:59 |       123456 |       1 | long\n"
                                    "   1  0:00:00 |            0 |       1 | day\n");
    FreeTiming(&T);
}

TEST(Verbosity, MaskDecidesWhatIsPrinted) {
    uint32_t saved = GlobalVerbosity;
    EXPECT_EQ(GlobalVerbosity, 15u);
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_register(L, "Verbosity", LuaVerbosity);
    testing::internal::CaptureStdout();
    VerbosityPrintf(0x1, "a");
    VerbosityPrintf(0x100, "b");      // solver lines are off by default
    VerbosityPrintf(0xFFFF, "c%d", 1);
    ASSERT_EQ(luaL_dostring(L, "Verbosity(0)"), LUA_OK);
    VerbosityPrintf(0xFFFFFFFF, "d");
    ASSERT_EQ(luaL_dostring(L, "Verbosity(0x100)"), LUA_OK);
    VerbosityPrintf(0x1, "e");
    VerbosityPrintf(0x101, "f");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ac1f");
    // The last argument counts, truncated to 32 bits.
    ASSERT_EQ(luaL_dostring(L, "Verbosity(1, 2^32 + 5.5)"), LUA_OK);
    EXPECT_EQ(GlobalVerbosity, 5u);
    EXPECT_NE(luaL_dostring(L, "Verbosity('loud')"), LUA_OK);
    EXPECT_EQ(GlobalVerbosity, 5u);
    lua_close(L);
    GlobalVerbosity = saved;
}

}  // namespace
