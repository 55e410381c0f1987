#include "programming.h"

#include "bus_emulated.h"
#include "capture.h"
#include "item.h"
#include "temporary.h"

#include <array>
#include <gmock/gmock.h>
#include <span>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

struct programmed {
    std::optional<insertion_state> insertion;
    std::string output;
    std::string errors;
};

programmed program(epld_model& device, const driver_state& state)
{
    programmed result;
    const int fd = attach(device);
    result.output =
        stdout_of([&] { result.errors = stderr_of([&] { result.insertion = program_device(fd, state); }); });
    return result;
}

bool inserts(const epld_model& device)
{
    return (device.control & 0x10) != 0;
}

/// The first articles of a list that counts channels up from `channel`.
std::vector<item> articles_from(std::int32_t channel, std::size_t count)
{
    std::vector<item> articles(count);
    for (std::size_t i = 0; i < count; ++i) {
        articles[i].channel = channel + static_cast<std::int32_t>(i);
        articles[i].next = i + 1 < count ? &articles[i + 1] : nullptr;
    }
    return articles;
}

std::span<const std::uint8_t> memory_at(const epld_model& device, std::size_t from, std::size_t count)
{
    return std::span(device.memory).subspan(from, count);
}

TEST(Programming, SingleServiceOnTheNewGenerationPacksTheRuns)
{
    epld_model device{.memory = {0xEE}, .control = 0x15};
    const auto [insertion, output, errors] = program(device, {.audio_stream_type = 3, .epld_version = 3});
    EXPECT_THAT(memory_at(device, 0, 29),
        ElementsAreArray({
            0xA1, 0x01, 0x00, 0x20, // SDT at 32: 27 bytes and 5
            0xB1, 0x02, 0x00, 0x3D, // NIT at 64: 56 bytes and 5
            0x91, 0x03, 0x1D, 0x19, // PAT at 125: 20 bytes and 5
            0xA1, 0x04, 0x16, 0x44, // EIT at 150: 63 bytes and 5
            0x91, 0x06, 0x1A, 0x1A, // PMT at 218: 21 bytes and 5, no subtitles
            0x82, 0x07, 0xF4, 0xBC, // stream slot at 244: 8 packets
            0x82, 0x36, 0xF4, 0xBC, // stream slot at 1748
            0x00,                   // end
        }));
    EXPECT_EQ(device.pointer, 29) << "the end byte comes last";
    EXPECT_EQ(device.control, 0x15);
    EXPECT_EQ(device.violation_count, 0);
    EXPECT_EQ(output, "Use 2 slots of 8 packets \n");
    EXPECT_EQ(errors, "");
    ASSERT_TRUE(insertion);
    EXPECT_EQ(insertion->table.pid, 20);
    EXPECT_EQ(insertion->table.continuity_counter, 0);
}

TEST(Programming, TheOldGenerationGetsWholePacketsAndNoEndByte)
{
    epld_model device{.new_generation = false};
    const auto [insertion, output, errors] = program(device, {.audio_stream_type = 3, .epld_version = 2});
    EXPECT_THAT(memory_at(device, 0, 28),
        ElementsAreArray({
            0x91, 0x00, 0x40, 0x01, // SDT at 64
            0xA1, 0x00, 0xFC, 0x01, // NIT at 252
            0x81, 0x01, 0xB8, 0x01, // PAT at 440
            0x91, 0x02, 0x74, 0x01, // EIT at 628
            0x81, 0x03, 0x30, 0x01, // PMT at 816
            0x82, 0x03, 0xEC, 0x08, // stream slot at 1004
            0x82, 0x09, 0xCC, 0x08, // stream slot at 2508
        }));
    EXPECT_EQ(device.pointer, 28) << "no end byte";
    EXPECT_EQ(device.memory[1003], 0xFF) << "stuffing";
    EXPECT_EQ(device.violation_count, 0);
    EXPECT_EQ(errors, "");
    EXPECT_TRUE(insertion);
}

TEST(Programming, ThreeServicesHaveAPmtWithSubtitlesEach)
{
    const environment settings{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"}};
    auto articles = articles_from(8, 3);
    epld_model device;
    program(device,
        {.audio_enabled = true,
            .audio_stream_type = 15,
            .epld_version = 3,
            .multi_service = true,
            .service_count = 3,
            .articles = articles.data()});
    EXPECT_THAT(memory_at(device, 0, 37),
        ElementsAreArray({
            0xA1, 0x01, 0x08, 0x3F, // SDT at 40: names "  8", "  9" and "  10", 58 bytes and 5
            0xB1, 0x03, 0x07, 0x4B, // NIT at 103: 70 bytes and 5
            0x91, 0x05, 0x12, 0x21, // PAT at 178: 28 bytes and 5
            0xA1, 0x06, 0x13, 0x44, // EIT at 211: 63 bytes and 5
            0x91, 0x08, 0x17, 0x2E, // PMT at 279: 41 bytes and 5
            0x91, 0x0A, 0x05, 0x2E, // PMT at 325
            0x91, 0x0B, 0x13, 0x2E, // PMT at 371
            0x82, 0x0D, 0xE1, 0xBC, // stream slot at 417: 8 packets
            0x82, 0x3C, 0xE1, 0xBC, // stream slot at 1921
            0x00,                   // end
        }));
    EXPECT_THAT(memory_at(device, 178, 33),
        ElementsAreArray({
            0x47, 0x40, 0x00, 0x10, 0x00,                   // PID 0, counter 0, pointer_field
            0x00, 0xB0, 0x19, 0x00, 0x00, 0xC3, 0x00, 0x00, // PAT, transport_stream_id 0
            0x00, 0x00, 0xE0, 0x10,                         // NIT
            0x00, 0x64, 0xE1, 0x00, 0x00, 0x65, 0xE1, 0x01, 0x00, 0x66, 0xE1, 0x02, // services and PMTs
            0x11, 0x60, 0x37, 0x86,                                                 // CRC_32
        }));
    EXPECT_THAT(memory_at(device, 279, 46),
        ElementsAreArray({
            0x47, 0x41, 0x00, 0x10, 0x00,                                           // PID 256
            0x02, 0xB0, 0x26, 0x00, 0x64, 0xE1, 0x00, 0x00, 0xF0, 0x01, 0xF0, 0x00, // PMT, service 100
            0x1B, 0xF0, 0x11, 0xF0, 0x00,                                           // video
            0x0F, 0xF1, 0x00, 0xF0, 0x00,                                           // audio
            0x06, 0xF1, 0x10, 0xF0, 0x0A,                                           // subtitles on PID 4368
            0x59, 0x08, 0x66, 0x72, 0x61, 0x10, 0x00, 0x01, 0x00, 0x01,             // subtitling_descriptor
            0xDC, 0xB9, 0x63, 0x58,                                                 // CRC_32
        }));
    EXPECT_THAT(memory_at(device, 371, 30),
        ElementsAreArray({
            0x47, 0x41, 0x02, 0x10, 0x00,                                           // PID 258
            0x02, 0xB0, 0x26, 0x00, 0x66, 0xE1, 0x00, 0x00, 0xF0, 0x01, 0xF0, 0x00, // PMT, service 102
            0x1B, 0xF0, 0x11, 0xF0, 0x00,                                           // video
            0x0F, 0xF1, 0x00, 0xF0, 0x00,                                           // audio
            0x06, 0xF1, 0x12,                                                       // subtitles on PID 4370
        }));
    EXPECT_EQ(device.violation_count, 0);
}

TEST(Programming, FortyServicesFit)
{
    auto articles = articles_from(100, 40);
    epld_model device;
    const auto result = program(
        device, {.epld_version = 3, .multi_service = true, .service_count = 40, .articles = articles.data()});

    // Runs: SDT 655 bytes in 4 packets, NIT 329 in 2, PAT 176, EIT 63, forty PMTs of 36.
    constexpr std::array<std::uint32_t, 4> common{188, 188 + 672, 860 + 338, 1198 + 181};
    for (std::uint32_t i = 0; i < common.size(); ++i)
        EXPECT_EQ(slot_at(device, i).address, common.at(i)) << i;
    constexpr std::uint32_t first_pmt = 1379 + 68;
    for (std::uint32_t i = 0; i < 40; ++i) {
        const device_slot slot = slot_at(device, 4 + i);
        EXPECT_EQ(slot.address, first_pmt + 41 * i) << i;
        EXPECT_THAT(memory_at(device, slot.address, 4), ElementsAre(0x47, 0x41, i, 0x10));
    }
    EXPECT_EQ(slot_at(device, 44).address, 3087);
    EXPECT_EQ(slot_at(device, 45).address, 3087 + 8 * 188);
    EXPECT_EQ(device.pointer, 46 * 4 + 1) << "header table with its end byte";
    EXPECT_EQ(device.violation_count, 0);
}

TEST(Programming, AServiceIdAtTheLimitWrapsInItsSixteenBits)
{
    const environment settings{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "2147483647"}};
    epld_model device;
    program(device, {.epld_version = 3, .multi_service = true, .service_count = 2});
    const std::uint32_t second_pmt = slot_at(device, 5).address;
    EXPECT_THAT(memory_at(device, second_pmt + 8, 2), ElementsAre(0x00, 0x00));
}

TEST(Layout, PacketAreaBeginsBehindTheHeaderTable)
{
    EXPECT_EQ(packet_area_start({.epld_version = 2}), 64);
    EXPECT_EQ(packet_area_start({.epld_version = 3}), 32);
    EXPECT_EQ(packet_area_start({.epld_version = 3, .multi_service = true, .service_count = 3}), 40);
    EXPECT_EQ(packet_area_start({.epld_version = 3, .multi_service = true, .service_count = 40}), 188);
}

constexpr struct {
    std::uint32_t tables_end;
    std::uint8_t capacity; ///< 0: no room
    std::uint32_t second_slot;
} layouts[] = {
    {1000, 8, 2504},
    {3136, 8, 4640},
    {3137, 7, 4453},
    {3500, 7, 4816},
    {5768, 1, 5956},
    {5769, 0, 0},
    {6144, 0, 0},
    {6145, 0, 0},
    {0xFFFFFFFF, 0, 0},
};

TEST(Layout, StreamSlotsShareWhatTheTablesLeave)
{
    for (const auto& [tables_end, capacity, second_slot] : layouts) {
        const auto slots = lay_out_stream_slots({.header_address = 20, .data_address = tables_end});
        ASSERT_EQ(slots.has_value(), capacity != 0) << tables_end;
        if (!slots)
            continue;
        const auto& [first, second] = *slots;
        EXPECT_THAT((std::array{first.header_address, first.data_address, second.header_address,
                        second.data_address}),
            ElementsAre(20, tables_end, 24, second_slot));
        EXPECT_THAT((std::array{first.capacity, second.capacity}), testing::Each(capacity)) << tables_end;
        EXPECT_THAT((std::array{first.type, second.type}), testing::Each(131));
    }
}

constexpr const char* no_room = "packet memory has no room for the tables and two stream slots\n";

constexpr struct {
    std::uint32_t services;
    const char* errors;
} large_tables[] = {
    {80, ""},      // the tables end at 5667, one packet for each stream slot
    {83, no_room}, // the tables end at 5871
    {88, no_room}, // the last PMTs would begin behind 5956, less than a packet from the end
    {130, "table length (1575) exceeds slot capacity (8 packets)"}, // SDT
};

TEST(Programming, TablesTooLargeEndItBeforeAnyByteBeyondMemoryAndWithInsertionOff)
{
    for (const auto& [services, errors] : large_tables) {
        epld_model device{.control = 0x1F};
        const auto result =
            program(device, {.epld_version = 3, .multi_service = true, .service_count = services});
        EXPECT_EQ(result.errors, errors) << services;
        const bool fits = services == 80;
        EXPECT_EQ(result.insertion.has_value(), fits) << services;
        EXPECT_EQ(inserts(device), fits) << services;
        EXPECT_EQ(result.output, fits ? "Use 2 slots of 1 packets \n" : "") << services;
        EXPECT_EQ(device.violation_count, 0) << services;
    }
}

/// Whatever request fails, programming goes on to its end: the failure shows as its message. What the
/// misplaced bytes of a lost pointer write do to the slots is then for the device to bear, but never
/// a byte goes beyond memory, nor any transfer to a register that does not know it.
TEST(Programming, AnyOneFailedRequestIsOnlyReported)
{
    constexpr std::int64_t requests = 1 // delete
        + 2                             // insertion off
        + 5 * (1 + 7 + 2)               // five tables of one packet, their slot headers
        + 2 * 2                         // stream slots
        + 2                             // end byte
        + 2;                            // insertion on
    for (std::int64_t n = 0;; ++n) {
        epld_model device{.requests_until_fault = n};
        auto [insertion, output, errors] = program(device, {.epld_version = 3});
        ASSERT_TRUE(insertion) << n;
        EXPECT_EQ(inserts(device), n != requests - 1 && n != requests - 2) << n;
        const std::string progress = "Use 2 slots of 8 packets \n";
        ASSERT_THAT(output, HasSubstr(progress)) << n;
        output.erase(output.find(progress), progress.size());
        if (device.requests_until_fault != epld_model::never) {
            EXPECT_EQ(n, requests);
            EXPECT_EQ(output, "");
            break;
        }
        EXPECT_THAT(
            (std::array{"can't delete tables !!!\n", "can't read reg 0 on the EPLD2 !!!\n",
                "can't change insertion state of the tables !!!\n", "send_i2c_offset : error !!!\n",
                "send_i2c_byte : error !!!\n", "send_i2c_header : error !!!\n", "send_i2c_data : error !!"}),
            testing::Contains(output))
            << n;
        for (std::uint32_t i = 0; i < device.violation_count; ++i)
            EXPECT_THAT(device.violations.at(i).kind,
                testing::AnyOf(violation_kind::bad_packet, violation_kind::bad_slot_header,
                    violation_kind::run_leaves_memory))
                << n;
    }
}

} // namespace
