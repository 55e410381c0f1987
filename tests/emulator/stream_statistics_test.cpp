#include "stream_statistics.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

namespace {

ts_packet packet(std::uint16_t pid, unsigned counter, std::span<const std::uint8_t> payload)
{
    ts_packet bytes{};
    bytes.fill(0xFF);
    bytes[0] = 0x47;
    bytes[1] = static_cast<std::uint8_t>(0x40 | pid >> 8);
    bytes[2] = static_cast<std::uint8_t>(pid);
    bytes[3] = static_cast<std::uint8_t>(0x10 | counter);
    std::ranges::copy(payload, bytes.begin() + 4);
    return bytes;
}

constexpr std::array<std::uint8_t, 9> tdt{0, 0x70, 0x70, 0x05, 1, 2, 3, 4, 5};
constexpr std::array<std::uint8_t, 8> wrong_crc{0, 0x73, 0x70, 4, 1, 2, 3, 4};

} // namespace

TEST(StreamStatistics, MeasuresTheRepetitionOfEachTableAndCountsDamagedOnes)
{
    const auto statistics = std::make_unique<stream_statistics>();
    unsigned counter = 0;
    for (const std::int64_t time_us : {0, 20'000'000, 41'000'000, 60'000'000}) {
        count_packet(*statistics, packet(20, counter, tdt), time_us);
        count_packet(*statistics, packet(20, counter + 1U, wrong_crc), time_us + 5);
        counter += 2;
    }
    ASSERT_EQ(statistics->table_count, 2U);
    EXPECT_EQ(statistics->tables[0].table_id, 0x70);
    EXPECT_EQ(statistics->tables[0].sections, 4U);
    EXPECT_EQ(statistics->tables[0].longest_gap_us, 21'000'000);
    EXPECT_EQ(statistics->tables[1].table_id, 0x73);
    EXPECT_EQ(counter_errors(*statistics), 0U);
    EXPECT_EQ(damaged_units(*statistics), 4U);
}
