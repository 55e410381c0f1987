#include "utc.h"

#include "moment.h"
#include "temporary.h"

#include <gmock/gmock.h>
#include <limits>

namespace {

constexpr struct {
    const char* what;
    std::tm utc;
    std::array<std::uint8_t, 5> bytes;
} moments[] = {
    {"two digits each", moment(2026, 11, 18, 14, 5, 9), {0xEF, 0xB2, 0x14, 0x05, 0x09}}, // 61362
    {"end of a day", moment(2025, 2, 28, 23, 59, 59), {0xED, 0x3E, 0x23, 0x59, 0x59}},   // 60734
    {"leap second", moment(2016, 12, 31, 23, 59, 60), {0xE1, 0x99, 0x23, 0x59, 0x60}},   // 57753
    {"start of a century", moment(2000, 1, 1), {0xC9, 0x58, 0, 0, 0}},                   // 51544
    {"leap day", moment(2024, 2, 29), {0xEB, 0xD1, 0, 0, 0}},                            // 60369
    {"start of a year", moment(2026, 1, 1), {0xEE, 0x71, 0, 0, 0}},                      // 61041
    {"February", moment(2026, 2, 15), {0xEE, 0x9E, 0, 0, 0}},                            // 61086
    {"March", moment(2026, 3, 15), {0xEE, 0xBA, 0, 0, 0}},                               // 61114
};

TEST(Utc, FieldIsModifiedJulianDateAndBcdTime)
{
    for (const auto& [what, utc, bytes] : moments)
        EXPECT_EQ(utc_field(utc), bytes) << what;
}

TEST(Utc, FieldOfAnAbsurdYearIsSound)
{
    std::tm utc = moment(2026, 1, 1, 12);
    for (const int year : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        utc.tm_year = year;
        EXPECT_EQ(utc_field(utc)[2], 0x12);
    }
}

TEST(Utc, NowIsNotLocalTime)
{
    const environment far_east{{"TZ", "XXX-14"}};
    tzset();
    const std::time_t before = std::time(nullptr);
    std::tm utc = utc_now();
    const std::time_t now = timegm(&utc);
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::time(nullptr));
}

} // namespace
