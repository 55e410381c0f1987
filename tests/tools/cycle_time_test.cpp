#include "cycle_time.h"

#include <gtest/gtest.h>

// A packet goes out in six blocks of 31 bytes and one of 2: 6 * (20 + 279) + (20 + 18) clock periods. A
// look at a slot sets the address (38) and reads a byte (39). A load looks at its slot, sets the address
// three times and writes two bytes of length and one of type (29 each); one into slot 0 also looks for
// the acknowledgement of slot 1.
TEST(CycleTime, CountsWhatTheDaemonAsksOfTheBus)
{
    constexpr std::uint64_t packet = 6 * 299 + 38;
    constexpr std::uint64_t look = 38 + 39;
    constexpr std::uint64_t load = look + 3 * 38ULL + 3 * 29ULL;
    std::vector<std::uint8_t> bytes(2000);
    block short_set{.length = 150, .buffer = bytes.data()};
    block long_set{.length = 2000, .buffer = bytes.data()}; // eight packets in one load, three in another
    block refresh{.length = 23, .buffer = bytes.data()};
    driver_state state{.epld_version = 3, .multi_service = true, .service_count = 2};
    state.streams[0] = {.display_set = &short_set, .refresh = &refresh};
    state.streams[1] = {.display_set = &long_set, .refresh = &refresh};

    const auto cost = measure_cycle(state);
    ASSERT_TRUE(cost);
    EXPECT_EQ(cost->slot_packets, 8U);
    EXPECT_EQ(cost->clock_periods, 14 * packet + 5 * load + 3 * look);
    EXPECT_EQ(cost->requests, 14U * 7 + 5 * 8 + 3 * 2);
}
