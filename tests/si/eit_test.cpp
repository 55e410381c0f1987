#include "eit.h"

#include "section_bytes.h"
#include "temporary.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(Eit, DescribesOneEventOfTwentyMinutes)
{
    const present_event event{.start_utc = moment("2025-11-18 14:05:09")};
    EXPECT_THAT(section_of([&](dvb_table& table) { return write_eit(table.data, event); }),
        ElementsAreArray<std::uint8_t>({
            0x4E, 0xF0, 0x3C,             // table_id, section_length
            0x00, 0x00, 0xD7, 0x00, 0x00, // service_id, version 11, section numbers
            0x00, 0x00, 0x00, 0x00,       // transport_stream_id, original_network_id
            0x00, 0x4E,                   // segment_last_section_number, last_table_id
            0x00, 0x0B, 0xEE, 0x45, 0x14, 0x05, 0x09, 0x00, 0x20, 0x00, // event_id, start, duration
            0x80, 0x21,                                  // running_status, descriptors_loop_length
            0x50, 0x06, 0xF1, 0x0F, 0x01, 'f', 'r', 'e', // video component_descriptor
            0x50, 0x0C, 0xF2, 0x03, 0x02, 'f', 'r', 'e', 'S', 't', 'e', 'r', 'e', 'o', // audio
            0x54, 0x02, 0x20, 0x20,                                                    // content_descriptor
            0x4D, 0x05, 'f', 'r', 'e', 0x00, 0x00, // short_event_descriptor
            0x4F, 0x35, 0x3E, 0x53,                // CRC_32
        }));
}

constexpr struct {
    const char* frame_rate;
    const char* codec;
    std::uint8_t component_type;
    std::uint8_t component_tag;
} videos[] = {
    {"50", "H264", 0x0B, 0x05}, {"25 fps", "h264", 0x0B, 0x01}, // codecs are told apart by case
    {"24", "H264 ", 0x0F, 0x01}, {"65561", "", 0x0F, 0x01},     // 25 in its low 16 bits
};

TEST(Eit, DescribesTheServiceOfTheSettings)
{
    for (const auto& [frame_rate, codec, type, tag] : videos) {
        const environment set{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "-2"},
            {"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"}, {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"},
            {"PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE", frame_rate},
            {"PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", codec}};
        const auto section = section_of(create_eit_table);
        expect_sound(section, frame_rate);
        EXPECT_THAT(std::span(section).subspan(3, 9),
            ElementsAre(0xFF, 0xFE, 0xD7, 0x00, 0x00, 0x12, 0x34, 0x20, 0xFA));
        EXPECT_THAT(std::span(section).subspan(28, 3), ElementsAre(0xF1, type, tag)) << frame_rate;
    }
}

} // namespace
