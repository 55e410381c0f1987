#include "table_transfer.h"

#include "bus_emulated.h"

#include <gtest/gtest.h>

namespace {

constexpr struct {
    std::uint32_t length;
    std::int32_t packed, stuffed; // bytes that count
} sizes[] = {
    {8, 13, 188}, {182, 187, 188}, {183, 188, 188}, {184, 193, 376}, {367, 376, 376}, {1471, 1504, 1504}};

TEST(TableTransfer, CountsTheBytesUpToTheSectionsEndOrWholePackets)
{
    for (const auto& [length, packed, stuffed] : sizes) {
        dvb_table table{.length = length, .continuity_counter = 254};
        epld_model device;
        const int fd = attach(device);
        EXPECT_EQ(copyTableToEpld(fd, 300, table, 0), packed) << length;
        EXPECT_EQ(device.pointer, 300 + static_cast<std::uint32_t>(stuffed)) << length;
        EXPECT_EQ(copyTableToEpld(fd, 300, table, 1), stuffed) << length;
        EXPECT_EQ(table.continuity_counter, (254 + 2 * stuffed / 188) % 256) << length;
    }
}

} // namespace
