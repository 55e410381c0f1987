#include "slot_header.h"

#include <gtest/gtest.h>

namespace {

constexpr struct {
    const char* what;
    slot_header header;
    slot_header_bytes packed;
    slot_header_bytes whole_packets;
} headers[] = {
    {"nothing", {.type = 0x82, .address = 32, .size = 0}, {0x82, 0x01, 0x00, 0x00}, {0x82, 0x00, 0x20, 0x00}},
    {"less than a packet", {.type = 0x91, .address = 300, .size = 100}, {0x91, 0x09, 0x0C, 0x64},
        {0x91, 0x01, 0x2C, 0x01}},
    {"one full packet", {.type = 0x91, .address = 300, .size = 188}, {0x91, 0x09, 0x0C, 0xBC},
        {0x91, 0x01, 0x2C, 0x01}},
    {"short last packet", {.type = 0x91, .address = 300, .size = 200}, {0x91, 0x09, 0x2C, 0x0C},
        {0x91, 0x01, 0x2C, 0x02}},
    {"two full packets", {.type = 0x91, .address = 300, .size = 376}, {0x91, 0x09, 0x2C, 0xBC},
        {0x91, 0x01, 0x2C, 0x02}},
    {"one byte too many", {.type = 0x91, .address = 300, .size = 377}, {0x91, 0x09, 0x4C, 0x01},
        {0x91, 0x01, 0x2C, 0x03}},
    {"end of memory", {.type = 0x87, .address = 4640, .size = 1504}, {0x87, 0x91, 0xE0, 0xBC},
        {0x87, 0x12, 0x20, 0x08}},
};

TEST(SlotHeader, GivesAddressAndSizeAsEachGenerationReadsThem)
{
    for (const auto& [what, header, packed, whole_packets] : headers) {
        EXPECT_EQ(encode_packed_header(header), packed) << what;
        EXPECT_EQ(encode_whole_packet_header(header), whole_packets) << what;
    }
}

} // namespace
