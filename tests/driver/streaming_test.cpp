#include "streaming.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gmock/gmock.h>
#include <vector>

namespace {

/// A programmed device with services whose display set is `display_set_size` bytes long, filled with
/// 0xD0 + service, and whose refresh is one byte, 0xE0 + service.
struct streaming_device {
    streaming_device(std::uint32_t services, std::uint32_t display_set_size)
        : display_sets(services)
        , refreshes(services)
    {
        state = {.epld_version = 3, .multi_service = true, .service_count = services};
        for (std::uint32_t i = 0; i < services; ++i) {
            bytes.emplace_back(display_set_size, static_cast<std::uint8_t>(0xD0 + i));
            display_sets[i] = {.length = display_set_size, .buffer = bytes.back().data()};
            bytes.emplace_back(1, static_cast<std::uint8_t>(0xE0 + i));
            refreshes[i] = {.length = 1, .buffer = bytes.back().data()};
            state.streams[i] = {.display_set = &display_sets[i],
                .refresh = &refreshes[i],
                .pid = static_cast<std::uint16_t>(4368 + i)};
        }
        fd = attach(model);
        stdout_of([&] { insertion = program_device(fd, state).value(); });
    }

    std::vector<std::vector<std::uint8_t>> bytes{};
    std::vector<block> display_sets;
    std::vector<block> refreshes;
    driver_state state{};
    epld_model model{};
    insertion_state insertion{};
    int fd = -1;
};

TEST(Streaming, GoesRoundAllServices)
{
    streaming_device device(3, 2000);
    ASSERT_TRUE(run_streaming_cycle(device.fd, device.state, device.insertion));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(device.state.streams[i].continuity_counter, 11 + 2) << i;
        EXPECT_EQ(device.state.streams[i].remaining, 0U) << i;
    }
    EXPECT_EQ(device.insertion.current_slot, (3 * 2 + 3 * 2) % 2);
    EXPECT_EQ(device.model.violation_count, 0U);
}

TEST(Streaming, EndsWhenTheDeviceStandsStill)
{
    streaming_device device(2, 100);
    device.model.unacknowledged_slot = 1;
    EXPECT_EQ(stdout_of([&] {
        while (run_streaming_cycle(device.fd, device.state, device.insertion)) { }
    }),
        "Waiting for previous slot acknowledged failed !!!\n");
}

} // namespace
