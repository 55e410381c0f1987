#include "protocol.h"

#include "bus_emulated.h"
#include "capture.h"

#include <array>
#include <gmock/gmock.h>
#include <numeric>
#include <span>

namespace {

using testing::ElementsAre;

std::array<std::uint8_t, packet_size> counted_packet()
{
    std::array<std::uint8_t, packet_size> packet{};
    std::iota(packet.begin(), packet.end(), std::uint8_t{1});
    return packet;
}

TEST(Protocol, InsertionChangesOneControlBit)
{
    constexpr struct {
        std::uint8_t before, on, after;
    } changes[] = {{0x05, 1, 0x15}, {0x1F, 0, 0x0F}, {0x1F, 0x80, 0x1F}, {0x00, 0, 0x00}};
    for (const auto& [before, on, after] : changes) {
        epld_model device{.control = before};
        EXPECT_EQ(send_i2c_insert(attach(device), on), 0);
        EXPECT_EQ(device.control, after);
    }
}

TEST(Protocol, WritesFollowOneAnotherFromTheAddressOn)
{
    epld_model device;
    const int fd = attach(device);
    EXPECT_EQ(send_i2c_offset(fd, 0x1'0008), 0); // 16 bits of it count
    EXPECT_EQ(send_i2c_header(fd, 3, 0x91, 300, 376), 0);
    EXPECT_EQ(send_i2c_header(fd, 2, 0x91, 300, 376), 0);
    EXPECT_EQ(send_i2c_word(fd, 0xAABBCCDD), 0);
    EXPECT_EQ(send_i2c_byte(fd, 0xEE), 0);
    EXPECT_THAT(std::span(device.memory).subspan(8, 12),
        ElementsAre(0x91, 0x09, 0x2C, 0xBC, // new generation
            0x91, 0x01, 0x2C, 0x02,         // old generation
            0xCC, 0xDD,                     // word
            0xEE, 0x00));                   // byte
    device.tables_deleted = false;
    EXPECT_EQ(remove_tables(fd), 0);
    EXPECT_TRUE(device.tables_deleted);
}

TEST(Protocol, WarnsOfAPartPacketOnTheOldGeneration)
{
    epld_model device;
    const int fd = attach(device);
    EXPECT_EQ(stderr_of([&] { send_i2c_header(fd, 2, 0x91, 300, 377); }),
        "send_i2c_header : suspicious table size (377) for EPLD version 2\n");
    EXPECT_EQ(stderr_of([&] { send_i2c_header(fd, 3, 0x91, 300, 377); }), "");
    EXPECT_THAT(std::span(device.memory).first(4), ElementsAre(0x91, 0x01, 0x2C, 0x03));
}

TEST(Protocol, APacketTakesSevenBlocks)
{
    epld_model device{.requests_until_fault = 7};
    const auto packet = counted_packet();
    EXPECT_EQ(send_i2c_data(attach(device), packet), 0);
    EXPECT_EQ(device.requests_until_fault, 0);
    EXPECT_THAT(std::span(device.memory).first(packet_size), testing::ElementsAreArray(packet));
    EXPECT_EQ(device.pointer, packet_size);
}

TEST(Protocol, ASlotIsBusyUntilSentAndAcknowledgedWhenTakenUp)
{
    constexpr struct {
        std::uint8_t type;
        std::int32_t busy, acknowledged;
    } answers[] = {{0x82, 0, 1}, {0x83, 1, 0}, {0x8B, 1, 8}, {0x8F, 1, 8}, {0x8A, 0, 1}};
    for (const auto& [type, busy, acknowledged] : answers) {
        epld_model device;
        device.memory[24] = type;
        device.memory[27] = 0x5C;
        const int fd = attach(device);
        EXPECT_EQ(is_slot_busy(fd, 24), busy);
        EXPECT_EQ(is_slot_acknowledged(fd, 24), acknowledged);
        EXPECT_EQ(read_continuity_counter(fd, 24), 0x0C);
    }
}

TEST(Protocol, PrintsMemoryAcrossBlocks)
{
    epld_model device;
    device.memory[30] = 0xAB;
    device.memory[31] = 0x0C;
    const int fd = attach(device);
    const std::string text = stdout_of([&] { EXPECT_EQ(read_bytes_bram(fd, 32), 0); });
    EXPECT_TRUE(text.starts_with("data[0] = 0x0!!!!!!!\ndata[1] = 0x0!!!!!!!\n")) << text;
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(read_bytes_bram(fd, 0), 0); }), "");
    EXPECT_TRUE(text.ends_with("data[30] = 0xab!!!!!!!\ndata[31] = 0xc!!!!!!!\n")) << text;
}

constexpr const char* unreadable = "can't read reg 0 on the EPLD2 !!!\n";

constexpr struct {
    const char* what;
    std::int32_t (*action)(int fd);
    std::int64_t failing_request; ///< counted from 0
    std::int32_t result;
    const char* message;
} failures[] = {
    {"remove", [](int fd) { return remove_tables(fd); }, 0, -14, "can't delete tables !!!\n"},
    {"insert, read", [](int fd) { return send_i2c_insert(fd, 1); }, 0, -14, unreadable},
    {"insert, write", [](int fd) { return send_i2c_insert(fd, 1); }, 1, -14,
        "can't change insertion state of the tables !!!\n"},
    {"offset", [](int fd) { return send_i2c_offset(fd, 4); }, 0, -14, "send_i2c_offset : error !!!\n"},
    {"byte", [](int fd) { return send_i2c_byte(fd, 4); }, 0, -14, "send_i2c_byte : error !!!\n"},
    {"word", [](int fd) { return send_i2c_word(fd, 4); }, 0, -14, "send_i2c_word : error !!!\n"},
    {"header", [](int fd) { return send_i2c_header(fd, 3, 0x91, 32, 9); }, 0, -14,
        "send_i2c_header : error !!!\n"},
    {"data, first block", [](int fd) { return send_i2c_data(fd, counted_packet()); }, 0, -14,
        "send_i2c_data : error !!"},
    {"data, last block", [](int fd) { return send_i2c_data(fd, counted_packet()); }, 6, -14,
        "send_i2c_data : error !!"},
    {"print nothing", [](int fd) { return read_bytes_bram(fd, 0); }, 0, -14,
        "read_bytes_bram : I2C read failed !!"},
    {"busy", [](int fd) { return is_slot_busy(fd, 4); }, 1, -14, unreadable},
    {"acknowledged", [](int fd) { return is_slot_acknowledged(fd, 4); }, 1, -14, unreadable},
    {"counter", [](int fd) { return read_continuity_counter(fd, 4); }, 1, -14, unreadable},
    {"busy, only the pointer", [](int fd) { return is_slot_busy(fd, 4); }, 0, 1,
        "send_i2c_offset : error !!!\n"},
};

TEST(Protocol, ReportsAFailedRequestAndStopsThere)
{
    for (const auto& [what, action, failing_request, result, message] : failures) {
        epld_model device{.requests_until_fault = failing_request};
        device.memory[0] = 0x83; // what is read when the pointer stays where it was
        const int fd = attach(device);
        EXPECT_EQ(stdout_of([&, run = action, expected = result] { EXPECT_EQ(run(fd), expected); }), message)
            << what;
        EXPECT_EQ(device.violation_count, 0) << what;
    }
}

} // namespace
