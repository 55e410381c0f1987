#include "stream_transfer.h"

#include "bus.h"
#include "bus_emulated.h"

#include <gmock/gmock.h>
#include <numeric>
#include <span>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr stream_slot first{.header_address = 0, .data_address = 40, .capacity = 8, .type = 0x83};
constexpr stream_slot second{.header_address = 4, .data_address = 1544, .capacity = 8, .type = 0x83};

/// A device with the two stream slots laid out and insertion on, and a stream of one PES payload.
struct streaming {
    explicit streaming(std::uint32_t payload_size)
        : payload(payload_size)
    {
        std::iota(payload.begin(), payload.end(), std::uint8_t{1});
        start_pes_packet(stream, display_set);
    }
    [[nodiscard]] std::span<const std::uint8_t> memory_at(std::size_t address, std::size_t count) const
    {
        return std::span(device.memory).subspan(address, count);
    }

    std::vector<std::uint8_t> payload;
    block display_set{.length = static_cast<std::uint32_t>(payload.size()), .buffer = payload.data()};
    std::uint8_t refresh_byte = 0;
    block refresh{.length = 1, .buffer = &refresh_byte};
    subtitle_stream stream{.display_set = &display_set, .refresh = &refresh, .pid = 4368};
    epld_model device{.memory = {0x82, 1, 0xE8, 188, 0x82, 48, 0xE8, 188}, .control = 0x10};
    int fd = attach(device);
};

constexpr struct {
    std::uint32_t size;
    std::int32_t written;
    std::array<std::uint8_t, 4> header;
    std::uint32_t remaining;
} first_loads[] = {{150, 168, {0x87, 1, 0x08, 168}, 0}, {170, 188, {0x87, 1, 0x08, 188}, 0},
    {171, 193, {0x87, 1, 0x28, 5}, 0}, {2000, 1504, {0x87, 1, 0xE8, 188}, 542}};

TEST(StreamTransfer, LoadsAPesPacketAsFarAsTheSlotTakesIt)
{
    for (const auto& [size, written, header, remaining] : first_loads) {
        streaming run(size);
        EXPECT_EQ(copyStreamToEpld(run.fd, first, run.stream, nullptr), written);
        EXPECT_THAT(run.memory_at(0, 4), testing::ElementsAreArray(header)) << size;
        EXPECT_EQ(run.stream.remaining, remaining) << size;
    }
}

TEST(StreamTransfer, BeginsAPesPacketOnlyOnce)
{
    streaming run(2000);
    run.stream.continuity_counter = 255;
    EXPECT_EQ(copyStreamToEpld(run.fd, first, run.stream, nullptr), 1504);
    EXPECT_THAT(run.memory_at(40, 20),
        ElementsAre(0x47, 0x51, 0x10, 0x1F, 0x00, 0x00, 0x01, 0xBD, 0x07, 0xD8, 0x85, 0x80, 0x05, 0x21, 0x00,
            0x01, 0x00, 0x01, 1, 2));
    EXPECT_THAT(run.memory_at(40 + 188, 5), ElementsAre(0x47, 0x11, 0x10, 0x10, 171));

    EXPECT_EQ(copyStreamToEpld(run.fd, second, run.stream, nullptr), 554);
    EXPECT_THAT(run.memory_at(1544, 5), ElementsAre(0x47, 0x11, 0x10, 0x17, 1458 % 256 + 1));
    EXPECT_THAT(run.memory_at(4, 4), ElementsAre(0x83, 48, 0x48, 178));

    start_pes_packet(run.stream, run.refresh);
    bus_pause(1000);
    EXPECT_EQ(copyStreamToEpld(run.fd, first, run.stream, nullptr), 4 + 14 + 1);
    EXPECT_THAT(run.memory_at(40, 4), ElementsAre(0x47, 0x51, 0x10, 0x1A));
    EXPECT_EQ(run.device.violation_count, 0);
}

} // namespace
