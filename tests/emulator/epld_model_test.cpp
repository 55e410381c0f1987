#include "epld_model.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr std::uint8_t insertion_on = 0x10;

void write_at(epld_model& device, std::uint16_t address, std::vector<std::uint8_t> bytes)
{
    EXPECT_TRUE(device_write_word(device, 11, address));
    EXPECT_TRUE(device_write_block(device, 32, bytes));
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

void switch_on(epld_model& device, const std::vector<std::uint8_t>& headers)
{
    device.control = 0;
    write_at(device, 0, headers);
    EXPECT_TRUE(device_write_byte(device, 0, insertion_on));
}

/// Two stream slots (headers at 0 and 4) of two packets each, at 400 and 800. Insertion is on.
epld_model with_stream_slots()
{
    epld_model device;
    switch_on(
        device, {0x82, 400 >> 5, 0x20 | (400 & 0x1F), 188, 0x82, 800 >> 5, 0x20 | (800 & 0x1F), 188, 0});
    return device;
}

/// Loads a stream slot with two packets, the first of which begins a PES packet.
void load(epld_model& device, std::uint16_t slot, std::uint8_t type)
{
    const auto address = static_cast<std::uint16_t>(400 + 400 * slot);
    write_at(device, address, packet(subtitle_pid, true, 1));
    write_at(device, static_cast<std::uint16_t>(address + 188), packet(subtitle_pid, false, 2));
    write_at(device, static_cast<std::uint16_t>(4 * slot), {type});
}

const struct {
    const char* what;
    violation_kind kind;
    std::uint16_t address;             ///< that the bytes are written to
    std::vector<std::uint8_t> headers; ///< that insertion is switched on with; none: the two stream slots
    std::vector<std::pair<std::uint16_t, std::uint8_t>> loads; ///< slots and types
    std::vector<std::uint8_t> bytes;
} wrongs[] = {
    {"one byte beyond memory", violation_kind::write_beyond_memory, 6143, {}, {}, {1, 2}},
    {"packets of a busy slot", violation_kind::busy_slot_overwritten, 775, {}, {{0, 0x87}}, {0}},
    {"header of a busy slot", violation_kind::busy_slot_overwritten, 7, {}, {{1, 0x87}}, {100}},
    {"run leaves memory", violation_kind::run_leaves_memory, 0, {}, {}, {0x83, 6000 >> 5, 6000 & 0x1F, 188}},
    {"loaded without packets", violation_kind::bad_packet, 0, {}, {}, {0x83}},
    {"type that no slot has", violation_kind::bad_slot_header, 0, {}, {{0, 0x8F}}, {}},
    {"beginning of a PES packet not said", violation_kind::bad_slot_header, 0, {}, {{0, 0x83}}, {}},
    {"slot 1 not acknowledged", violation_kind::armed_too_early, 0, {}, {{1, 0x87}, {0, 0x87}}, {}},
    {"no end byte", violation_kind::bad_slot_header, 0, {0x82, 2, 0x20, 188, 0xFF}, {}, {}},
    {"packets over those of another slot", violation_kind::runs_overlap, 0,
        {0x82, 2, 0x20, 188, 0x82, 25, 0x20, 188, 0x82, 3, 0x20, 188, 0}, {}, {}},
    {"packets over those of the slot before", violation_kind::runs_overlap, 0,
        {0x82, 2, 0x20, 188, 0x82, 25, 0x20, 188, 0x82, 26, 0x20, 188, 0}, {}, {}},
    {"packets over the header table", violation_kind::runs_overlap, 0, {0x82, 0, 3, 188, 0}, {}, {}},
};

} // namespace

TEST(EpldModel, ReportsWhatADaemonMustNotWrite)
{
    for (const auto& [what, kind, address, headers, loads, bytes] : wrongs) {
        epld_model device = with_stream_slots();
        if (!headers.empty())
            switch_on(device, headers);
        for (const auto& [slot, type] : loads)
            load(device, slot, type);
        if (!bytes.empty())
            write_at(device, address, bytes);
        ASSERT_EQ(device.violation_count, 1U) << what;
        EXPECT_EQ(device.violations[0].kind, kind) << what;
    }
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
    const struct {
        bool new_generation;
        std::vector<std::uint8_t> headers; ///< of a PAT (class "fast") and a NIT ("slow")
    } cases[] = {
        {true, {0x91, 12, 16, 188, 0xB1, 25, 0, 188, 0}},
        {false, {0x81, 1, 144, 1, 0xA1, 3, 32, 1}},
    };
    for (const auto& [new_generation, headers] : cases) {
        epld_model device{.new_generation = new_generation};
        write_at(device, 400, packet(0, true, 0));
        write_at(device, 800, packet(16, true, 0));
        EXPECT_EQ(next_packet_due_us(device), epld_model::never);
        switch_on(device, headers);
        int fast_packets = 0;
        for (int sent = 0; sent < 55; ++sent) {
            device.now_us = std::max(device.now_us, next_packet_due_us(device));
            ts_packet packet{};
            ASSERT_TRUE(send_packet(device, packet));
            if (packet[2] == 16)
                continue;
            EXPECT_EQ(packet[3] & 0x0F, fast_packets++ % 16) << new_generation;
        }
        EXPECT_EQ(fast_packets, 53) << new_generation; // the slow ones at 0 and 5 s
        EXPECT_EQ(device.now_us, 5'200'000) << new_generation;
        EXPECT_EQ(device.violation_count, 0U);
    }
}
