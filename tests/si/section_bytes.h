#pragma once

#include "dvb_table.h"
#include "section.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <gmock/gmock.h>
#include <vector>

/// The section that `build`, a function of a table that returns the length, leaves in a table used
/// before. Fails the test when bytes behind the section were touched.
template <class Build> std::vector<std::uint8_t> section_of(Build build)
{
    constexpr std::uint8_t earlier = 0xA5;
    dvb_table table;
    table.data.fill(earlier);
    const auto end = table.data.begin() + build(table);
    EXPECT_TRUE(std::all_of(end, table.data.end(), [](std::uint8_t byte) { return byte == earlier; }));
    return {table.data.begin(), end};
}

/// A section's own CRC_32 takes the rest of the division to 0, and section_length counts what follows it.
inline void expect_sound(const std::vector<std::uint8_t>& section, const char* what = "")
{
    EXPECT_EQ(crc32(section.data(), static_cast<std::int32_t>(section.size())), 0U) << what;
    EXPECT_EQ((section[1] & 0x0FU) << 8 | section[2], section.size() - 3) << what;
}

/// A moment such as "2026-11-18 14:05:09".
inline std::tm moment(const char* utc)
{
    std::tm fields{};
    strptime(utc, "%Y-%m-%d %H:%M:%S", &fields);
    return fields;
}
