#include "table_transfer.h"

#include "bus_emulated.h"

#include <gmock/gmock.h>
#include <numeric>
#include <span>
#include <vector>

namespace {

constexpr std::uint32_t address = 300;

dvb_table counted_table(std::uint32_t length)
{
    dvb_table table{.length = length, .pid = 0x111, .continuity_counter = 14};
    std::iota(table.data.begin(), table.data.end(), std::uint8_t{1});
    return table;
}

TEST(TableTransfer, CutsASectionIntoPackets)
{
    dvb_table table = counted_table(368);
    epld_model device;
    EXPECT_EQ(copyTableToEpld(attach(device), address, table, 0), 188 + 188 + 5);

    std::vector<std::uint8_t> run{0x47, 0x41, 0x11, 0x1E, 0x00}; // header with unit start, pointer_field
    run.insert(run.end(), table.data.begin(), table.data.begin() + 183);
    run.insert(run.end(), {0x47, 0x01, 0x11, 0x1F});
    run.insert(run.end(), table.data.begin() + 183, table.data.begin() + 367);
    run.insert(run.end(), {0x47, 0x01, 0x11, 0x10, table.data[367]});
    run.insert(run.end(), 183, 0xFF);
    EXPECT_THAT(std::span(device.memory).subspan(address, run.size()), testing::ElementsAreArray(run));
    EXPECT_EQ(table.continuity_counter, 17);
}

constexpr struct {
    std::uint32_t length;
    std::int32_t packed, stuffed; // bytes that count
} sizes[] = {
    {8, 13, 188}, {182, 187, 188}, {183, 188, 188}, {184, 193, 376}, {367, 376, 376}, {1471, 1504, 1504}};

TEST(TableTransfer, CountsTheBytesUpToTheSectionsEndOrWholePackets)
{
    for (const auto& [length, packed, stuffed] : sizes) {
        dvb_table table = counted_table(length);
        epld_model device;
        const int fd = attach(device);
        EXPECT_EQ(copyTableToEpld(fd, address, table, 0), packed) << length;
        EXPECT_EQ(device.pointer, address + static_cast<std::uint32_t>(stuffed)) << length;
        EXPECT_EQ(copyTableToEpld(fd, address, table, 1), stuffed) << length;
    }
}

} // namespace
