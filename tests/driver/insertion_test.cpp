#include "insertion.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gmock/gmock.h>
#include <limits>
#include <span>

namespace {

using testing::ElementsAre;

/// A device programmed for single-service operation.
struct running_device {
    explicit running_device(std::uint32_t epld_version)
        : version(epld_version)
    {
        stdout_of([&] { insertion = program_device(fd, {.epld_version = version}).value(); });
    }
    refresh_result refresh(std::time_t now)
    {
        return refresh_time_tables(fd, version, insertion, now);
    }

    std::uint32_t version;
    epld_model model{.new_generation = version > 2};
    int fd = attach(model);
    insertion_state insertion{};
};

constexpr struct {
    std::uint32_t version;
    std::size_t tdt_run, tot_run;
    std::array<std::uint8_t, 8> slot_headers;
} generations[] = {
    {3, 244, 1748, {0x83, 0x07, 0x14, 13, 0x83, 0x36, 0x14, 34}}, // 8 bytes and 5, 29 bytes and 5
    {2, 1004, 2508, {0x83, 0x03, 0xEC, 1, 0x83, 0x09, 0xCC, 1}},
};

TEST(Insertion, TdtAndTotGoThroughTheSlotsInTurn)
{
    for (const auto& [version, tdt_run, tot_run, slot_headers] : generations) {
        running_device device(version);
        const std::span memory(device.model.memory);
        EXPECT_EQ(device.refresh(1000), refresh_result::done);
        EXPECT_THAT(memory.subspan(20, 8), testing::ElementsAreArray(slot_headers));
        EXPECT_THAT(memory.subspan(tdt_run, 8), ElementsAre(0x47, 0x40, 0x14, 0x10, 0x00, 0x70, 0x70, 0x05));
        EXPECT_THAT(memory.subspan(tot_run, 8), ElementsAre(0x47, 0x40, 0x14, 0x11, 0x00, 0x73, 0x70, 0x1A));
        EXPECT_EQ(device.insertion.current_slot, 0);
        EXPECT_EQ(device.model.violation_count, 0);
    }
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
        running_device device(3);
        device.insertion.last_time_refresh = last;
        EXPECT_EQ(device.refresh(now), due ? refresh_result::done : refresh_result::not_due) << last;
        EXPECT_EQ(device.insertion.last_time_refresh, due ? now : last);
        EXPECT_EQ(device.insertion.table.continuity_counter, due ? 2 : 0);
    }
}

} // namespace
