#include "emulated_run.h"

#include <gtest/gtest.h>

/// The judge of the device wants a TDT and a TOT at their rate, with counters that run on. At midnight, where
/// no leap day and where one begins, at the end of a year, and where 31 bits of seconds end.
TEST(LongRun, TenHoursOfTimeTables)
{
    for (const std::string day : {"2026-11-18", "2027-02-28", "2028-02-28", "2026-12-31", "2038-01-18"}) {
        const run_result result =
            run_daemon_emulated({{"--duration", "10h", "--start", day + " 20:00:00"}, {}});
        EXPECT_EQ(result.emulator_status, 0) << day << result.summary;
        EXPECT_EQ(result.errors, "") << day; // how far it has come is for a terminal
    }
}
