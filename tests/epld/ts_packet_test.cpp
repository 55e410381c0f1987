#include "ts_packet.h"

#include <array>
#include <gtest/gtest.h>

namespace {

constexpr struct {
    const char* what;
    std::int32_t pid;
    std::uint8_t packet_index;
    std::uint8_t counter;
    std::array<std::uint8_t, 4> bytes;
} headers[] = {
    {"first packet, largest PID", 0x1FFF, 0, 5, {0x47, 0x5F, 0xFF, 0x15}},
    {"later packet", 0x0111, 1, 15, {0x47, 0x01, 0x11, 0x1F}},
    {"index and counter past their fields", 17, 255, 32, {0x47, 0x00, 0x11, 0x10}},
    {"PID past its field", 0x2014, 0, 0, {0x47, 0x40, 0x14, 0x10}},
};

TEST(DvbHeader, SetsEveryBitWhateverTheBufferHeld)
{
    for (const auto& [what, pid, packet_index, counter, bytes] : headers) {
        std::array<std::uint8_t, 4> header{0xA5, 0x5A, 0xA5, 0x5A};
        create_dvb_header(header, pid, packet_index, counter);
        EXPECT_EQ(header, bytes) << what;
    }
}

} // namespace
