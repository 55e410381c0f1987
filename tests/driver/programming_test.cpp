#include "programming.h"

#include "bus_emulated.h"
#include "capture.h"
#include "item.h"
#include "temporary.h"

#include <array>
#include <gmock/gmock.h>
#include <span>
#include <string>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

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

TEST(Programming, SingleServiceOnTheNewGenerationPacksTheRuns)
{
    epld_model device{.memory = {0xEE}, .control = 0x15};
    const auto [insertion, output, errors] = program(device, {.audio_stream_type = 3, .epld_version = 3});
    EXPECT_THAT(std::span(device.memory).first(29),
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
    EXPECT_TRUE(insertion);
}

TEST(Programming, TheOldGenerationGetsWholePacketsAndNoEndByte)
{
    epld_model device{.new_generation = false};
    const auto [insertion, output, errors] = program(device, {.audio_stream_type = 3, .epld_version = 2});
    EXPECT_THAT(std::span(device.memory).first(28),
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
    item third{.channel = 10};
    item second{.channel = 9, .next = &third};
    item first{.channel = 8, .next = &second};
    epld_model device;
    program(device,
        {.audio_enabled = true,
            .audio_stream_type = 15,
            .epld_version = 3,
            .multi_service = true,
            .service_count = 3,
            .articles = &first});
    EXPECT_THAT(std::span(device.memory).first(37),
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
    EXPECT_THAT(std::span(device.memory).subspan(103 + 5 + 43, 12), // logical channels in the NIT
        ElementsAre(0x00, 0x64, 0x7C, 0x08, 0x00, 0x65, 0x7C, 0x09, 0x00, 0x66, 0x7C, 0x0A));
    EXPECT_THAT(std::span(device.memory).subspan(178 + 5 + 12, 12), // programs in the PAT
        ElementsAre(0x00, 0x64, 0xE1, 0x00, 0x00, 0x65, 0xE1, 0x01, 0x00, 0x66, 0xE1, 0x02));
    EXPECT_THAT(std::span(device.memory).subspan(371, 30),
        ElementsAreArray({
            0x47, 0x41, 0x02, 0x10, 0x00,                                           // PID 258
            0x02, 0xB0, 0x26, 0x00, 0x66, 0xE1, 0x00, 0x00, 0xF0, 0x01, 0xF0, 0x00, // PMT, service 102
            0x1B, 0xF0, 0x11, 0xF0, 0x00,                                           // video
            0x0F, 0xF1, 0x00, 0xF0, 0x00,                                           // audio
            0x06, 0xF1, 0x12,                                                       // subtitles on PID 4370
        }));
    EXPECT_EQ(device.violation_count, 0);
}

constexpr struct {
    std::uint32_t tables_end;
    std::uint8_t capacity;
    std::uint32_t second_slot;
} layouts[] = {{1000, 8, 2504}, {3136, 8, 4640}, {3137, 7, 4453}, {3500, 7, 4816}, {5768, 1, 5956}};

TEST(Layout, StreamSlotsShareWhatTheTablesLeave)
{
    for (const auto& [tables_end, capacity, second_slot] : layouts) {
        const auto slots = lay_out_stream_slots({.header_address = 20, .data_address = tables_end});
        ASSERT_TRUE(slots) << tables_end;
        const auto& [first, second] = *slots;
        EXPECT_THAT((std::array{first.header_address, first.data_address, second.header_address,
                        second.data_address}),
            ElementsAre(20, tables_end, 24, second_slot));
        EXPECT_THAT((std::array{first.capacity, second.capacity}), testing::Each(capacity)) << tables_end;
        EXPECT_THAT((std::array{first.type, second.type}), testing::Each(0x83));
    }
    for (const std::uint32_t tables_end : {5769U, 6144U, 6145U, 0xFFFFFFFFU})
        EXPECT_FALSE(lay_out_stream_slots({.header_address = 20, .data_address = tables_end})) << tables_end;
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
    const environment settings{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "2147483647"}}; // counts on from 0
    for (const auto& [services, errors] : large_tables) {
        epld_model device{.control = 0x1F};
        const auto result =
            program(device, {.epld_version = 3, .multi_service = true, .service_count = services});
        EXPECT_EQ(result.errors, errors);
        const bool fits = services == 80;
        EXPECT_EQ(result.insertion.has_value(), fits) << services;
        EXPECT_EQ(device.control, fits ? 0x1F : 0x0F) << services;
        EXPECT_EQ(result.output, fits ? "Use 2 slots of 1 packets \n" : "");
        EXPECT_EQ(device.violation_count, 0) << services;
    }
}

} // namespace
