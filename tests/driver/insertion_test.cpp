#include "insertion.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gmock/gmock.h>
#include <limits>
#include <span>
#include <vector>

namespace {

using testing::ElementsAre;

// Single-service operation without settings on the new generation: stream slots at 244 and 1748, their
// headers at 20 and 24.
constexpr std::uint32_t version = 3;
constexpr std::uint32_t first_run = 244;
constexpr std::uint32_t second_run = 1748;

struct running_device {
    epld_model model{};
    int fd = -1;
    insertion_state insertion{};
};

void run(running_device& device, std::uint32_t epld_version = version)
{
    device.fd = attach(device.model);
    stdout_of([&] { device.insertion = program_device(device.fd, {.epld_version = epld_version}).value(); });
}

refresh_result refresh(running_device& device, std::time_t now)
{
    return refresh_time_tables(device.fd, version, device.insertion, now);
}

std::span<const std::uint8_t> memory_at(const running_device& device, std::size_t from, std::size_t count)
{
    return std::span(device.model.memory).subspan(from, count);
}

TEST(Insertion, TdtAndTotGoThroughTheSlotsInTurn)
{
    running_device device;
    run(device);
    EXPECT_EQ(refresh(device, 1000), refresh_result::done);
    EXPECT_THAT(memory_at(device, 21, 3), ElementsAre(0x07, 0x14, 13)); // 8 bytes and 5
    EXPECT_THAT(memory_at(device, first_run, 8), ElementsAre(0x47, 0x40, 0x14, 0x10, 0x00, 0x70, 0x70, 0x05));
    EXPECT_THAT(memory_at(device, 25, 3), ElementsAre(0x36, 0x14, 34)); // 29 bytes and 5
    EXPECT_THAT(
        memory_at(device, second_run, 8), ElementsAre(0x47, 0x40, 0x14, 0x11, 0x00, 0x73, 0x70, 0x1A));
    EXPECT_THAT(
        (std::vector{device.model.memory[20] & 0x87, device.model.memory[24] & 0x87}), testing::Each(0x83));

    device.insertion.current_slot = 1;
    EXPECT_EQ(refresh(device, 1020), refresh_result::done);
    EXPECT_THAT(memory_at(device, second_run, 6), ElementsAre(0x47, 0x40, 0x14, 0x12, 0x00, 0x70));
    EXPECT_THAT(memory_at(device, first_run, 6), ElementsAre(0x47, 0x40, 0x14, 0x13, 0x00, 0x73));
    EXPECT_EQ(device.insertion.current_slot, 1);
    EXPECT_EQ(device.model.violation_count, 0) << "no busy slot was overwritten";
}

TEST(Insertion, TheOldGenerationGetsWholePackets)
{
    running_device device{.model = {.new_generation = false}};
    run(device, 2);
    EXPECT_EQ(refresh_time_tables(device.fd, 2, device.insertion, 1000), refresh_result::done);
    EXPECT_THAT(memory_at(device, 21, 3), ElementsAre(0x03, 0xEC, 1));
    EXPECT_THAT(memory_at(device, 25, 3), ElementsAre(0x09, 0xCC, 1));
    EXPECT_EQ(device.model.memory[1004 + 187], 0xFF);
    EXPECT_EQ(device.model.violation_count, 0);
}

TEST(Insertion, RefreshesTwentySecondsAfterTheLastTime)
{
    constexpr std::time_t latest = std::numeric_limits<std::time_t>::max();
    constexpr struct {
        std::time_t last, now;
        bool due;
    } moments[] = {{0, 19, false}, {0, 20, true}, {1000, 1019, false}, {1000, 1020, true}, {1000, 999, false},
        {0, latest, true}, {latest - 19, latest, false}, {latest, latest, false}, {0, -1, false}};
    for (const auto& [last, now, due] : moments) {
        running_device device;
        run(device);
        device.insertion.last_time_refresh = last;
        EXPECT_EQ(refresh(device, now), due ? refresh_result::done : refresh_result::not_due) << last;
        EXPECT_EQ(device.insertion.last_time_refresh, due ? now : last);
        EXPECT_EQ(device.insertion.table.continuity_counter, due ? 2 : 0);
    }
}

TEST(Insertion, ASlotThatStaysBusyEndsIt)
{
    running_device device{.model = {.stuck_slot = 1}};
    run(device);
    EXPECT_EQ(refresh(device, 1000), refresh_result::done);
    refresh_result result = refresh_result::done;
    EXPECT_EQ(stdout_of([&] { result = refresh(device, 1020); }), "Waiting for slot ready failed !!!\n");
    EXPECT_EQ(result, refresh_result::failed);
    EXPECT_GE(device.model.now_us, 5'000'000);
    EXPECT_EQ(device.insertion.table.continuity_counter, 3) << "the TDT went out, the TOT did not";
}

TEST(Insertion, AFailedPollEndsIt)
{
    constexpr std::int64_t load = 2 + 1 + 7 + 2; // poll, pointer, packet, header
    for (const std::int64_t poll : {std::int64_t{1}, load + 1}) {
        running_device device;
        run(device);
        device.model.requests_until_fault = poll;
        refresh_result result = refresh_result::done;
        EXPECT_EQ(stdout_of([&] { result = refresh(device, 1000); }),
            "can't read reg 0 on the EPLD2 !!!\nWaiting for slot ready failed !!!\n");
        EXPECT_EQ(result, refresh_result::failed);
    }
}

} // namespace
