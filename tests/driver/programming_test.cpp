#include "programming.h"

#include "bus_emulated.h"
#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Layout, StreamSlotsShareWhatTheTablesLeave)
{
    for (const auto& [tables_end, capacity] :
        {std::pair{1000U, 8U}, {3136U, 8U}, {3137U, 7U}, {5768U, 1U}, {5769U, 0U}, {0xFFFFFFFFU, 0U}}) {
        const auto slots = lay_out_stream_slots({.header_address = 20, .data_address = tables_end});
        ASSERT_EQ(slots.has_value(), capacity > 0) << tables_end;
        for (std::uint32_t i = 0; slots && i < 2; ++i) {
            EXPECT_EQ((*slots)[i].capacity, capacity) << tables_end;
            EXPECT_EQ((*slots)[i].data_address, tables_end + i * capacity * 188) << tables_end;
        }
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
    const environment settings{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "2147483647"}}; // counts on from 0
    for (const auto& [services, errors] : large_tables) {
        epld_model device{.control = 0x1F};
        const driver_state state{.epld_version = 3, .multi_service = true, .service_count = services};
        const int fd = attach(device);
        std::optional<insertion_state> insertion;
        std::string output;
        const auto program = [&] { output = stdout_of([&] { insertion = program_device(fd, state); }); };
        EXPECT_EQ(stderr_of(program), errors);
        const bool fits = services == 80;
        EXPECT_EQ(insertion.has_value(), fits) << services;
        EXPECT_EQ(device.control, fits ? 0x1F : 0x0F) << services;
        EXPECT_EQ(output, fits ? "Use 2 slots of 1 packets \n" : "");
        EXPECT_EQ(device.violation_count, 0) << services;
    }
}

} // namespace
