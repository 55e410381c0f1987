#include "table_transfer.h"

#include "bus_emulated.h"
#include "capture.h"

#include <algorithm>
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
    EXPECT_EQ(device.memory[address - 1] + device.memory[address + 3 * 188], 0) << "beside the run";
}

constexpr struct {
    std::uint32_t length;
    std::int32_t packed, stuffed; // bytes that count
} sizes[] = {
    {8, 13, 188}, {182, 187, 188}, {183, 188, 188}, {184, 193, 376}, {367, 376, 376}, {1471, 1504, 1504}};

TEST(TableTransfer, CountsTheBytesUpToTheSectionsEndOrWholePackets)
{
    for (const auto& [length, packed, stuffed] : sizes) {
        epld_model packed_device;
        epld_model stuffed_device;
        dvb_table table = counted_table(length);
        EXPECT_EQ(copyTableToEpld(attach(packed_device), address, table, 0), packed) << length;
        table = counted_table(length);
        EXPECT_EQ(copyTableToEpld(attach(stuffed_device), address, table, 1), stuffed) << length;
        EXPECT_EQ(stuffed_device.pointer, address + static_cast<std::uint32_t>(stuffed)) << length;
        EXPECT_EQ(
            stuffed_device.memory[address + static_cast<std::uint32_t>(packed) - 1], table.data[length - 1])
            << length;
        EXPECT_EQ(packed_device.memory, stuffed_device.memory) << length;
    }
}

TEST(TableTransfer, RefusesASectionThatNoSlotHolds)
{
    dvb_table table = counted_table(1472);
    epld_model device{.requests_until_fault = 0};
    const int fd = attach(device);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(copyTableToEpld(fd, address, table, 0), -1); }),
        "table length (1472) exceeds slot capacity (8 packets)");
    EXPECT_EQ(device.requests_until_fault, 0) << "no request was made";
    EXPECT_EQ(table.continuity_counter, 14);
}

TEST(TableTransfer, CarriesOnAfterFailedWrites)
{
    for (std::int64_t failing_request = 0; failing_request < 15; ++failing_request) {
        dvb_table table = counted_table(184);
        epld_model device{.requests_until_fault = failing_request};
        const int fd = attach(device);
        EXPECT_EQ(stdout_of([&] { EXPECT_EQ(copyTableToEpld(fd, address, table, 0), 193); }),
            failing_request == 0 ? "send_i2c_offset : error !!!\n" : "send_i2c_data : error !!");
        EXPECT_EQ(table.continuity_counter, 16);
    }
}

} // namespace
