#include "insertion.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gtest/gtest.h>

namespace {

/// Programs a device for single-service operation and refreshes its time tables.
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

constexpr struct {
    std::time_t last, now;
    bool due;
} moments[] = {{0, 20, true}, {1000, 1019, false}, {1000, 1020, true}, {1000, 999, false}, {0, -1, false}};

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
