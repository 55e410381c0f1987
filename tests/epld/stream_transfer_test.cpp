#include "stream_transfer.h"

#include "bus.h"
#include "bus_emulated.h"
#include "capture.h"

#include <gmock/gmock.h>
#include <numeric>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr stream_slot first{.header_address = 0, .data_address = 32, .capacity = 8, .type = 0x83};
constexpr stream_slot second{.header_address = 4, .data_address = 1536, .capacity = 8, .type = 0x83};

/// A device with the two stream slots laid out and insertion on, and a stream of one PES payload.
struct streaming {
    explicit streaming(std::uint32_t payload_size)
        : payload(payload_size)
    {
        std::iota(payload.begin(), payload.end(), std::uint8_t{1});
        device.memory = {0x82, 1, 0xE0, 188, 0x82, 48, 0xE0, 188};
        EXPECT_TRUE(device_write_byte(device, 0, 0x10));
        fd = attach(device);
        display_set = {.length = payload_size, .buffer = payload.data()};
        stream = {.display_set = &display_set, .refresh = &refresh, .pid = 4368};
        start_pes_packet(stream, display_set);
    }

    epld_model device{};
    std::vector<std::uint8_t> payload;
    std::uint8_t refresh_byte = 0;
    block display_set{};
    block refresh{.length = 1, .buffer = &refresh_byte};
    subtitle_stream stream{};
    int fd = -1;
};

std::vector<std::uint8_t> memory_at(const epld_model& device, std::size_t from, std::size_t count)
{
    return {device.memory.begin() + static_cast<std::ptrdiff_t>(from),
        device.memory.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

TEST(StreamTransfer, HeadsAPesPacket)
{
    EXPECT_THAT(create_pes_header({.length = 1000}),
        ElementsAre(0x00, 0x00, 0x01, 0xBD, 0x03, 0xF0, 0x85, 0x80, 0x05, 0x21, 0x00, 0x01, 0x00, 0x01));
}

struct load {
    std::int32_t written;
    std::uint8_t type;
    std::uint8_t packets_minus_one;
    std::uint8_t last_size;
};

TEST(StreamTransfer, CutsAPesPacketIntoLoads)
{
    const struct {
        std::uint32_t size;
        std::vector<load> loads;
    } cases[] = {
        {150, {{168, 0x87, 0, 168}}},
        {170, {{188, 0x87, 0, 188}}},
        {171, {{193, 0x87, 1, 5}}},
        {2000, {{1504, 0x87, 7, 188}, {554, 0x83, 2, 178}}},
    };
    for (const auto& [size, loads] : cases) {
        streaming run(size);
        bool in_first = true;
        for (const load& expected : loads) {
            const stream_slot& slot = in_first ? first : second;
            EXPECT_EQ(
                copyStreamToEpld(run.fd, slot, run.stream, in_first ? &second : nullptr), expected.written);
            const auto header = memory_at(run.device, slot.header_address, 4);
            EXPECT_EQ(header[0], expected.type) << size;
            EXPECT_EQ(header[2], expected.packets_minus_one << 5 | (slot.data_address & 0x1F)) << size;
            EXPECT_EQ(header[3], expected.last_size) << size;
            bus_pause(1000);
            in_first = !in_first;
        }
        EXPECT_EQ(run.stream.remaining, 0U) << size;
        EXPECT_EQ(run.stream.cursor, run.payload.data() + size) << size;
        EXPECT_EQ(run.device.violation_count, 0U) << size;
    }
}

TEST(StreamTransfer, BeginsAPesPacketOnlyOnce)
{
    streaming run(2000);
    run.stream.continuity_counter = 255;
    EXPECT_GT(copyStreamToEpld(run.fd, first, run.stream, nullptr), 0);
    EXPECT_THAT(memory_at(run.device, 32, 20),
        ElementsAre(0x47, 0x51, 0x10, 0x1F, 0x00, 0x00, 0x01, 0xBD, 0x07, 0xD8, 0x85, 0x80, 0x05, 0x21, 0x00,
            0x01, 0x00, 0x01, 1, 2));
    EXPECT_THAT(memory_at(run.device, 32 + 188, 5), ElementsAre(0x47, 0x11, 0x10, 0x10, 171));
    EXPECT_GT(copyStreamToEpld(run.fd, second, run.stream, nullptr), 0);
    EXPECT_THAT(memory_at(run.device, 1536, 5), ElementsAre(0x47, 0x11, 0x10, 0x17, 1458 % 256 + 1));
    EXPECT_EQ(run.stream.continuity_counter, 10);

    start_pes_packet(run.stream, run.refresh);
    bus_pause(1000);
    EXPECT_EQ(copyStreamToEpld(run.fd, first, run.stream, nullptr), 4 + 14 + 1);
    EXPECT_THAT(memory_at(run.device, 32, 4), ElementsAre(0x47, 0x51, 0x10, 0x1A));
}

TEST(StreamTransfer, TouchesNothingWhileTheSlotIsBusy)
{
    streaming run(150);
    run.device.memory[0] = 0x83;
    run.device.unacknowledged_slot = 0;
    const auto before = run.device.memory;
    std::int32_t result = 0;
    EXPECT_EQ(stdout_of([&] { result = copyStreamToEpld(run.fd, first, run.stream, &second); }),
        "Waiting for slot ready failed !!!\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(run.device.memory, before);
    EXPECT_EQ(run.stream.remaining, 150U);
    EXPECT_EQ(run.stream.continuity_counter, 0);
    EXPECT_EQ(run.device.now_us, 5'000'000);
}

TEST(StreamTransfer, FillsButDoesNotArmBeforeTheOtherSlotIsAcknowledged)
{
    streaming run(150);
    run.device.memory[4] = 0x83;
    run.device.unacknowledged_slot = 1;
    std::int32_t result = 0;
    EXPECT_EQ(stdout_of([&] { result = copyStreamToEpld(run.fd, first, run.stream, &second); }),
        "Waiting for previous slot acknowledged failed !!!\n");
    EXPECT_EQ(result, -1);
    EXPECT_THAT(memory_at(run.device, 0, 4), ElementsAre(0x82, 1, 0, 168));
    EXPECT_EQ(run.stream.remaining, 0U);
    EXPECT_EQ(run.stream.continuity_counter, 1);
}

TEST(StreamTransfer, CarriesOnAfterARefusedWrite)
{
    // Pointer and busy bit; pointer, seven blocks; pointer, two bytes; pointer and type byte.
    for (const std::int64_t refused : {2, 3, 9, 10, 11, 12, 13, 14}) {
        streaming run(150);
        run.device.requests_until_fault = refused;
        std::int32_t result = 0;
        EXPECT_THAT(stdout_of([&] { result = copyStreamToEpld(run.fd, first, run.stream, nullptr); }),
            testing::HasSubstr("error !!"));
        EXPECT_EQ(result, 168) << refused;
        EXPECT_EQ(run.device.requests_until_fault, epld_model::never) << refused;
    }
}

} // namespace
