#include "stream_transfer.h"

#include "bus_emulated.h"

#include <gmock/gmock.h>
#include <numeric>
#include <span>
#include <vector>

namespace {

constexpr stream_slot slot{.header_address = 0, .data_address = 40, .capacity = 8, .type = 0x83};

/// A device with two stream slots laid out and insertion on, and a stream of one PES payload.
struct streaming {
    explicit streaming(std::uint32_t payload_size)
        : payload(payload_size)
    {
        std::iota(payload.begin(), payload.end(), std::uint8_t{1});
        start_pes_packet(stream, display_set);
    }

    std::vector<std::uint8_t> payload;
    block display_set{.length = static_cast<std::uint32_t>(payload.size()), .buffer = payload.data()};
    subtitle_stream stream{.display_set = &display_set, .pid = 4368};
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
        EXPECT_EQ(copyStreamToEpld(run.fd, slot, run.stream, nullptr), written);
        EXPECT_THAT(std::span(run.device.memory).first(4), testing::ElementsAreArray(header)) << size;
        EXPECT_EQ(run.stream.remaining, remaining) << size;
    }
}

} // namespace
