#include "utc.h"

#include <gtest/gtest.h>

namespace {

constexpr struct {
    const char* utc;
    std::array<std::uint8_t, 5> bytes;
} moments[] = {
    {"2026-11-18 14:05:09", {0xEF, 0xB2, 0x14, 0x05, 0x09}}, // 61362
    {"2016-12-31 23:59:60", {0xE1, 0x99, 0x23, 0x59, 0x60}}, // 57753
    {"2000-01-01 00:00:00", {0xC9, 0x58, 0x00, 0x00, 0x00}}, // 51544
    {"2024-02-29 00:00:00", {0xEB, 0xD1, 0x00, 0x00, 0x00}}, // 60369
    {"2026-02-15 00:00:00", {0xEE, 0x9E, 0x00, 0x00, 0x00}}, // 61086
    {"2026-03-15 00:00:00", {0xEE, 0xBA, 0x00, 0x00, 0x00}}, // 61114
    {"2038-04-22 23:59:59", {0xFF, 0xFF, 0x23, 0x59, 0x59}}, // 65535, the last day of 16 bits
    {"2038-04-23 00:00:00", {0x00, 0x00, 0x00, 0x00, 0x00}}, // then it begins anew
};

TEST(Utc, FieldIsModifiedJulianDateAndBcdTime)
{
    for (const auto& [utc, bytes] : moments) {
        std::tm fields{};
        strptime(utc, "%Y-%m-%d %H:%M:%S", &fields);
        EXPECT_EQ(utc_field(fields), bytes) << utc;
    }
}

} // namespace
