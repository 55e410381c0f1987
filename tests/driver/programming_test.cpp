#include "programming.h"

#include "bus_emulated.h"
#include "capture.h"
#include "temporary.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

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
        EXPECT_THAT(
            fields, testing::ElementsAre(20, tables_end, capacity, 0x83, 24, second_slot, capacity, 0x83));
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
