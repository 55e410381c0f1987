#include "programming.h"

#include "bus_emulated.h"
#include "capture.h"
#include "item.h"
#include "temporary.h"

#include <gmock/gmock.h>
#include <span>
#include <string>
#include <vector>

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

item articles[] = {
    {.channel = 8, .next = &articles[1]}, {.channel = 9, .next = &articles[2]}, {.channel = 10}};

const struct {
    const char* what;
    driver_state state;
    std::vector<std::uint8_t> headers;                                   ///< and the end byte
    std::vector<std::pair<std::size_t, std::vector<std::uint8_t>>> runs; ///< parts of them, at addresses
} devices[] = {
    {"the old generation, which gets whole packets and no end byte",
        {.audio_stream_type = 3, .epld_version = 2},
        {
            0x91, 0x00, 0x40, 0x01, // SDT at 64
            0xA1, 0x00, 0xFC, 0x01, // NIT at 252
            0x81, 0x01, 0xB8, 0x01, // PAT at 440
            0x91, 0x02, 0x74, 0x01, // EIT at 628
            0x81, 0x03, 0x30, 0x01, // PMT at 816
            0x82, 0x03, 0xEC, 0x08, // stream slot at 1004
            0x82, 0x09, 0xCC, 0x08, // stream slot at 2508
        },
        {{1003, {0xFF}}}}, // stuffing
    {"three services, which have a PMT with subtitles each",
        {.audio_enabled = true,
            .audio_stream_type = 15,
            .epld_version = 3,
            .multi_service = true,
            .service_count = 3,
            .articles = articles},
        {
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
        },
        {{103 + 5 + 43, {0x00, 0x64, 0x7C, 0x08, 0x00, 0x65, 0x7C, 0x09}},       // logical channels
            {178 + 5 + 12, {0x00, 0x64, 0xE1, 0x00, 0x00, 0x65, 0xE1, 0x01}},    // programs
            {371, {0x47, 0x41, 0x02, 0x10, 0x00, 0x02, 0xB0, 0x26, 0x00, 0x66}}, // service 102 on PID 258
            {371 + 22, {0x0F, 0xF1, 0x00, 0xF0, 0x00, 0x06, 0xF1, 0x12}}}}, // audio, subtitles on PID 4370
};

TEST(Programming, WritesTheTablesAndLaysOutTheStreamSlots)
{
    const environment settings{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"}};
    for (const auto& [what, state, headers, runs] : devices) {
        epld_model device{.new_generation = state.epld_version > 2, .control = 0x15};
        const auto [insertion, output, errors] = program(device, state);
        const std::span memory(device.memory);
        EXPECT_THAT(memory.first(headers.size()), ElementsAreArray(headers)) << what;
        EXPECT_EQ(device.pointer, headers.size()) << what << ": the last byte is written last";
        for (const auto& [address, bytes] : runs)
            EXPECT_THAT(memory.subspan(address, bytes.size()), ElementsAreArray(bytes)) << what;
        EXPECT_EQ(device.control, 0x15) << what;
        EXPECT_EQ(device.violation_count, 0) << what;
        EXPECT_EQ(output, "Use 2 slots of 8 packets \n");
        EXPECT_EQ(errors, "");
        EXPECT_TRUE(insertion) << what;
    }
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
        std::vector<std::uint32_t> fields;
        for (const stream_slot& slot : *slots)
            fields.insert(fields.end(), {slot.header_address, slot.data_address, slot.capacity, slot.type});
        EXPECT_THAT(fields, ElementsAre(20, tables_end, capacity, 0x83, 24, second_slot, capacity, 0x83));
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
