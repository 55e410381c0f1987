#include "insertion.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gmock/gmock.h>
#include <limits>
#include <span>

namespace {

using testing::ElementsAre;

/// Programs a device for single-service operation and refreshes its time
/// tables.
struct refreshed_device {
    refreshed_device(std::time_t last, std::time_t now)
    {
        const int fd = attach(model);
        stdout_of([&] { insertion = program_device(fd, {.epld_version = 3}).value(); });
        insertion.last_time_refresh = last;
        result = refresh_time_tables(fd, 3, insertion, now);
    }
    epld_model model;
    insertion_state insertion{};
    refresh_result result{};
};

TEST(Insertion, TdtAndTotGoThroughTheSlotsInTurn)
{
    const refreshed_device device(0, 1000);
    const std::span memory(device.model.memory);
    EXPECT_THAT(memory.subspan(20, 8), // 8 bytes and 5, 29 bytes and 5
        ElementsAre(0x83, 0x07, 0x14, 13, 0x83, 0x36, 0x14, 34));
    EXPECT_THAT(memory.subspan(244, 8), ElementsAre(0x47, 0x40, 0x14, 0x10, 0x00, 0x70, 0x70, 0x05));
    EXPECT_THAT(memory.subspan(1748, 8), ElementsAre(0x47, 0x40, 0x14, 0x11, 0x00, 0x73, 0x70, 0x1A));
    EXPECT_EQ(device.insertion.current_slot, 0);
    EXPECT_EQ(device.model.violation_count, 0);
}

constexpr std::time_t latest = std::numeric_limits<std::time_t>::max();
constexpr struct {
    std::time_t last, now;
    bool due;
} moments[] = {{0, 20, true}, {1000, 1019, false}, {1000, 1020, true}, {1000, 999, false}, {0, latest, true},
    {latest - 19, latest, false}, {0, -1, false}};

TEST(Insertion, RefreshesTwentySecondsAfterTheLastTime)
{
    for (const auto& [last, now, due] : moments) {
        const refreshed_device device(last, now);
        EXPECT_EQ(device.result, due ? refresh_result::done : refresh_result::not_due) << last;
        EXPECT_EQ(device.insertion.last_time_refresh, due ? now : last);
        EXPECT_EQ(device.insertion.table.continuity_counter, due ? 2 : 0);
    }
}

} // namespace
