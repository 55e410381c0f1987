#include "emulated_run.h"

#include <ctime>
#include <gmock/gmock.h>

namespace {

int decimal(std::uint8_t bcd)
{
    return (bcd >> 4) * 10 + (bcd & 0x0F);
}

/// The UTC time field at the front of a TDT or TOT, in seconds since the epoch.
std::int64_t time_of(const byte_string& packet)
{
    constexpr std::int64_t mjd_of_epoch = 40587; // 1 January 1970
    const std::uint8_t* const field = packet.data() + 5 + 3;
    const std::int64_t days = (field[0] << 8 | field[1]) - mjd_of_epoch;
    const std::int64_t hours = 24 * days + decimal(field[2]);
    const std::int64_t minutes = 60 * hours + decimal(field[3]);
    return 60 * minutes + decimal(field[4]);
}

std::int64_t seconds_of(const std::string& utc)
{
    std::tm fields{};
    strptime(utc.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
    return timegm(&fields);
}

constexpr const char* ten_hour_starts[] = {
    "2026-11-18 20:00:00", // midnight
    "2026-11-30 20:00:00", // end of a month
    "2027-02-28 20:00:00", // no leap day
    "2028-02-28 20:00:00", // a leap day begins
    "2028-02-29 20:00:00", // and ends
    "2026-12-31 20:00:00", // end of a year
};

} // namespace

TEST(LongRun, TenHoursOfTimeTables)
{
    for (const std::string start : ten_hour_starts) {
        const run_result result = run_daemon_emulated({{"--duration", "10h", "--start", start}, {}});
        ASSERT_EQ(result.emulator_status, 0) << start << result.summary;
        std::vector<double> times_s;
        for (const auto& [time_s, kind, register_number, pointer, bytes, refused] : result.requests) {
            if (bytes.size() != 31 || bytes[0] != 0x47 || bytes[1] != 0x40 || bytes[2] != 20)
                continue; // not the first block of a TDT or TOT
            const std::size_t i = times_s.size();
            EXPECT_EQ(bytes[5], i % 2 == 0 ? 0x70 : 0x73) << start << i;
            EXPECT_EQ(bytes[3] & 0x0F, i % 16) << start << i;
            EXPECT_NEAR(static_cast<double>(time_of(bytes) - seconds_of(start)), time_s, 1.0) << start << i;
            EXPECT_NEAR(time_s - (i < 2 ? time_s - 20 : times_s[i - 2]), 20, 0.1) << start << i;
            times_s.push_back(time_s);
        }
        EXPECT_GE(times_s.size(), 2U * (36'000 / 20 - 10)) << start;
    }
}
