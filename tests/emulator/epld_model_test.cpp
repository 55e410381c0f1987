#include "epld_model.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;

namespace {

constexpr std::uint8_t insertion_on = 0x10;

void write_at(epld_model& device, std::uint16_t address, std::vector<std::uint8_t> bytes)
{
    EXPECT_TRUE(device_write_word(device, 11, address));
    EXPECT_TRUE(device_write_block(device, 32, bytes));
}

std::uint8_t read_at(epld_model& device, std::uint16_t address)
{
    std::uint8_t value = 0;
    EXPECT_TRUE(device_write_word(device, 11, address));
    EXPECT_TRUE(device_read_byte(device, 32, value));
    return value;
}

constexpr std::uint16_t subtitle_pid = 4368;
constexpr std::uint16_t time_pid = 20;

/// A packet with that PID, payload_unit_start_indicator and counter 9. Its payload is all `payload`, but
/// subtitles start as a PES packet does.
std::vector<std::uint8_t> packet(std::uint16_t pid, bool start, std::uint8_t payload)
{
    std::vector<std::uint8_t> bytes(188, payload);
    bytes[0] = 0x47;
    bytes[1] = static_cast<std::uint8_t>((start ? 0x40 : 0) | pid >> 8);
    bytes[2] = static_cast<std::uint8_t>(pid);
    bytes[3] = 0x19;
    if (start && pid == subtitle_pid)
        std::copy_n(std::array<std::uint8_t, 3>{0, 0, 1}.begin(), 3, bytes.begin() + 4);
    return bytes;
}

/// Two stream slots (headers at 0 and 4) of two packets each, at 400 and 800. Insertion is on.
epld_model with_stream_slots()
{
    epld_model device;
    write_at(
        device, 0, {0x82, 400 >> 5, 0x20 | (400 & 0x1F), 188, 0x82, 800 >> 5, 0x20 | (800 & 0x1F), 188, 0});
    EXPECT_TRUE(device_write_byte(device, 0, insertion_on));
    return device;
}

std::vector<ts_packet> send_all(epld_model& device)
{
    std::vector<ts_packet> packets;
    for (ts_packet sent{}; send_packet(device, sent);)
        packets.push_back(sent);
    return packets;
}

} // namespace

TEST(EpldModel, PointerAdvancesOnWritesAndReads)
{
    epld_model device;
    write_at(device, 100, {1, 2, 3});
    EXPECT_TRUE(device_write_block(device, 32, std::array<std::uint8_t, 1>{4}));
    EXPECT_TRUE(device_write_word(device, 11, 101));
    std::array<std::uint8_t, 2> read{};
    EXPECT_TRUE(device_read_block(device, 32, read));
    EXPECT_THAT(read, ElementsAre(2, 3));
    std::uint8_t next = 0;
    EXPECT_TRUE(device_read_byte(device, 32, next));
    EXPECT_EQ(next, 4);
    EXPECT_EQ(device.violation_count, 0U);
}

TEST(EpldModel, DecodesSlotHeadersOfBothGenerations)
{
    epld_model device;
    write_at(device, 0, {0x91, 0x09, 0x2C, 0xBC});
    const device_slot packed = slot_at(device, 0);
    EXPECT_EQ(packed.address, 300U);
    EXPECT_EQ(packed.packets, 2U);
    EXPECT_EQ(packed.last_packet_size, 188U);

    device.new_generation = false;
    write_at(device, 0, {0x91, 0x01, 0x2C, 0x02});
    const device_slot old = slot_at(device, 0);
    EXPECT_EQ(old.address, 300U);
    EXPECT_EQ(old.packets, 2U);
    EXPECT_EQ(old.last_packet_size, 188U);
}

TEST(EpldModel, ReportsWhatADaemonMustNotDo)
{
    const struct {
        const char* what;
        violation_kind kind;
        std::function<void(epld_model&)> act;
    } cases[] = {
        {"unknown register", violation_kind::unknown_register,
            [](epld_model& device) { EXPECT_FALSE(device_write_byte(device, 3, 0)); }},
        {"word into the control register", violation_kind::unknown_transfer,
            [](epld_model& device) { EXPECT_FALSE(device_write_word(device, 0, 0)); }},
        {"unknown command", violation_kind::unknown_transfer,
            [](epld_model& device) { EXPECT_FALSE(device_write_byte(device, 2, 6)); }},
        {"one byte beyond memory", violation_kind::write_beyond_memory,
            [](epld_model& device) {
                write_at(device, 6143, {1, 2});
            }},
        {"packets of a busy slot", violation_kind::busy_slot_overwritten,
            [](epld_model& device) {
                write_at(device, 400, packet(subtitle_pid, true, 0));
                write_at(device, 588, packet(subtitle_pid, false, 0));
                write_at(device, 0, {0x87});
                write_at(device, 775, {0});
            }},
        {"header of a busy slot", violation_kind::busy_slot_overwritten,
            [](epld_model& device) {
                write_at(device, 800, packet(subtitle_pid, true, 0));
                write_at(device, 988, packet(subtitle_pid, false, 0));
                write_at(device, 4, {0x87});
                write_at(device, 7, {100});
            }},
        {"run that leaves memory", violation_kind::run_leaves_memory,
            [](epld_model& device) {
                write_at(device, 0, {0x83, 6000 >> 5, 6000 & 0x1F, 188});
            }},
        {"loaded slot without packets", violation_kind::bad_packet,
            [](epld_model& device) { write_at(device, 0, {0x83}); }},
    };
    for (const auto& [what, kind, act] : cases) {
        epld_model device = with_stream_slots();
        EXPECT_EQ(device.violation_count, 0U) << what;
        act(device);
        ASSERT_EQ(device.violation_count, 1U) << what;
        EXPECT_EQ(device.violations[0].kind, kind) << what;
    }
}

TEST(EpldModel, SendsALoadedStreamSlotOnceAndAcknowledgesIt)
{
    epld_model device = with_stream_slots();
    write_at(device, 400, packet(subtitle_pid, true, 1));
    write_at(device, 588, packet(subtitle_pid, false, 2));
    write_at(device, 0, {0x87});
    EXPECT_EQ(read_at(device, 0), 0x87);
    write_at(device, 800, packet(subtitle_pid, false, 3));
    write_at(device, 988, packet(subtitle_pid, false, 4));
    write_at(device, 4, {0x83});
    EXPECT_EQ(read_at(device, 4), 0x83); // it waits behind the other

    ts_packet sent{};
    EXPECT_TRUE(send_packet(device, sent));
    EXPECT_EQ(read_at(device, 0), 0x8F); // acknowledged: the device is at it
    EXPECT_TRUE(send_packet(device, sent));
    EXPECT_EQ(sent[4], 2);
    EXPECT_EQ(read_at(device, 0) & 0x01, 0);
    EXPECT_EQ(read_at(device, 4), 0x83); // it waits for the next packet that can be sent
    EXPECT_TRUE(send_packet(device, sent));
    EXPECT_EQ(read_at(device, 4), 0x8B);
    EXPECT_EQ(send_all(device).size(), 1U);
    EXPECT_EQ(read_at(device, 4) & 0x09, 0);
    EXPECT_EQ(device.violation_count, 0U);
}

TEST(EpldModel, WithheldAnswersKeepASlotBusy)
{
    epld_model stuck = with_stream_slots();
    stuck.stuck_slot = 1;
    write_at(stuck, 800, packet(time_pid, true, 0));
    write_at(stuck, 4, {0x83, 25, 0, 100});
    EXPECT_EQ(send_all(stuck).size(), 1U);
    EXPECT_EQ(read_at(stuck, 4), 0x8B);

    epld_model silent = with_stream_slots();
    silent.unacknowledged_slot = 1;
    write_at(silent, 800, packet(time_pid, true, 0));
    write_at(silent, 4, {0x83, 25, 0, 100});
    EXPECT_EQ(send_all(silent).size(), 0U);
    EXPECT_EQ(read_at(silent, 4), 0x83);
}

/// ISO/IEC 13818-1, 2.4.4 for sections, 2.4.3.5 for PES packets.
TEST(EpldModel, CompletesAShortLastPacket)
{
    const struct {
        const char* what;
        std::vector<std::uint8_t> begin; ///< of the packet that is sent, behind its PID
        std::uint8_t type;
        bool start;
        std::uint8_t valid;
        std::uint8_t last;
    } cases[] = {
        {"section", {0x19, 7, 7, 0xFF, 0xFF}, 0x83, true, 6, 0xFF},
        {"beginning of a PES packet", {0x39, 87, 0x00, 0xFF, 0xFF}, 0x87, true, 100, 7},
        {"end of a PES packet", {0x39, 182, 0x00, 0xFF, 0xFF}, 0x83, false, 5, 7},
        {"one byte short", {0x39, 0, 7, 7, 7}, 0x83, false, 187, 7},
        {"two bytes short", {0x39, 1, 0x00, 7, 7}, 0x83, false, 186, 7},
        {"full", {0x19, 7, 7, 7, 7}, 0x83, false, 188, 7},
    };
    for (const auto& [what, begin, type, start, valid, last] : cases) {
        epld_model device = with_stream_slots();
        write_at(device, 800, packet(start && type == 0x83 ? time_pid : subtitle_pid, start, 7));
        write_at(device, 4, {type, 25, 0, valid});
        ts_packet sent{};
        ASSERT_TRUE(send_packet(device, sent)) << what;
        EXPECT_TRUE(std::equal(begin.begin(), begin.end(), sent.begin() + 3)) << what;
        EXPECT_EQ(sent.back(), last) << what;
        EXPECT_FALSE(send_packet(device, sent)) << what;
    }
}

TEST(EpldModel, RepeatsTablesByTheirClassWithRunningCounters)
{
    for (const bool new_generation : {true, false}) {
        epld_model device{.new_generation = new_generation};
        const std::uint8_t fast = new_generation ? 0x91 : 0x81; // PAT and PMT
        const std::uint8_t slow = new_generation ? 0xB1 : 0xA1; // NIT
        const std::vector<std::uint8_t> headers = new_generation
            ? std::vector<std::uint8_t>{fast, 12, 16, 188, slow, 25, 0, 188, 0}
            : std::vector<std::uint8_t>{fast, 1, 144, 1, slow, 3, 32, 1};
        write_at(device, 0, headers);
        write_at(device, 400, packet(0, true, 0));
        write_at(device, 800, packet(16, true, 0));
        EXPECT_EQ(next_packet_due_us(device), epld_model::never);
        EXPECT_TRUE(device_write_byte(device, 0, insertion_on));

        std::vector<int> counters;
        int slow_packets = 0;
        for (int sent = 0; sent < 55; ++sent) {
            device.now_us = std::max(device.now_us, next_packet_due_us(device));
            ts_packet packet{};
            ASSERT_TRUE(send_packet(device, packet));
            if (packet[2] == 16)
                ++slow_packets;
            else
                counters.push_back(packet[3] & 0x0F);
        }
        EXPECT_EQ(slow_packets, 2) << new_generation; // at 0 and 5 s
        ASSERT_EQ(counters.size(), 53U);
        for (std::size_t i = 0; i < counters.size(); ++i)
            EXPECT_EQ(counters[i], static_cast<int>(i % 16));
        EXPECT_EQ(device.now_us, 5'200'000) << new_generation;
        EXPECT_EQ(device.violation_count, 0U);
    }
}
