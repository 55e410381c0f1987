#include "protocol.h"

#include "bus_emulated.h"
#include "capture.h"

#include <array>
#include <gmock/gmock.h>
#include <span>

namespace {

using testing::ElementsAre;

TEST(Protocol, WritesFollowOneAnotherFromTheAddressOn)
{
    epld_model device;
    const int fd = attach(device);
    EXPECT_EQ(send_i2c_offset(fd, 0x1'0008), 0); // 16 bits of it count
    EXPECT_EQ(send_i2c_header(fd, 3, 0x91, 300, 376), 0);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(send_i2c_header(fd, 2, 0x91, 300, 377), 0); }),
        "send_i2c_header : suspicious table size (377) for EPLD version 2\n");
    EXPECT_EQ(send_i2c_word(fd, 0xAABBCCDD), 0);
    EXPECT_EQ(send_i2c_byte(fd, 0xEE), 0);
    EXPECT_THAT(std::span(device.memory).subspan(8, 12), // headers of the new and the old generation
        ElementsAre(0x91, 0x09, 0x2C, 0xBC, 0x91, 0x01, 0x2C, 0x03, 0xCC, 0xDD, 0xEE, 0x00));
}

TEST(Protocol, ASlotIsBusyUntilSentAndAcknowledgedWhenTakenUp)
{
    constexpr struct {
        std::uint8_t type;
        std::int32_t busy, acknowledged;
    } answers[] = {{0x82, 0, 1}, {0x83, 1, 0}, {0x8B, 1, 8}, {0x8F, 1, 8}, {0x8A, 0, 1}};
    for (const auto& [type, busy, acknowledged] : answers) {
        epld_model device{.memory = {0, 0, 0, 0, type, 0, 0, 0x5C}};
        const int fd = attach(device);
        EXPECT_EQ(is_slot_busy(fd, 4), busy);
        EXPECT_EQ(is_slot_acknowledged(fd, 4), acknowledged);
        EXPECT_EQ(read_continuity_counter(fd, 4), 0x0C);
    }
}

TEST(Protocol, PrintsMemoryAcrossBlocks)
{
    epld_model device;
    device.memory[30] = 0xAB;
    device.memory[31] = 0x0C;
    const int fd = attach(device);
    EXPECT_THAT(stdout_of([&] { EXPECT_EQ(read_bytes_bram(fd, 32), 0); }),
        testing::EndsWith("data[29] = 0x0!!!!!!!\ndata[30] = 0xab!!!!!!!\ndata[31] = 0xc!!!!!!!\n"));
}

TEST(Protocol, ReportsAFailedRequestAndStopsThere)
{
    epld_model device{.requests_until_fault = 2};
    const int fd = attach(device);
    const std::array<std::uint8_t, packet_size> packet{};
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(send_i2c_data(fd, packet), -14); }), "send_i2c_data : error !!");
    EXPECT_EQ(device.pointer, 2 * 31) << "two blocks";

    device.requests_until_fault = 0;
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(send_i2c_word(fd, 4), -14); }), "send_i2c_word : error !!!\n");
    device.requests_until_fault = 0;
    EXPECT_EQ(
        stdout_of([&] { EXPECT_EQ(read_bytes_bram(fd, 0), -14); }), "read_bytes_bram : I2C read failed !!");
}

} // namespace
