#include "pat_pmt.h"

#include "section_bytes.h"
#include "temporary.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

std::vector<std::uint8_t> pmt_of(const program_streams& program)
{
    return section_of([&](dvb_table& table) { return write_pmt(table.data, program); });
}

TEST(Pat, ListsTheNetworkAndEveryProgram)
{
    const auto section = section_of([](dvb_table& table) {
        return write_pat(table.data, {.first_program_number = 100, .program_count = 3});
    });
    EXPECT_THAT(section,
        ElementsAreArray<std::uint8_t>({
            0x00, 0xB0, 0x19,             // table_id, section_length
            0x00, 0x00, 0xC3, 0x00, 0x00, // transport_stream_id, version 1, section numbers
            0x00, 0x00, 0xE0, 0x10,       // network_PID
            0x00, 0x64, 0xE1, 0x00,       // program 100
            0x00, 0x65, 0xE1, 0x01,       // program 101
            0x00, 0x66, 0xE1, 0x02,       // program 102
            0x11, 0x60, 0x37, 0x86,       // CRC_32
        }));
}

TEST(Pat, MayListNoProgramAtAll)
{
    const auto section = section_of([](dvb_table& table) { return write_pat(table.data, {}); });
    EXPECT_EQ(section.size(), 16U);
    expect_sound(section);
}

TEST(Pat, TakesTheTransportStreamFromTheSettings)
{
    const environment set{{"PREF_SYSTEM_ENCODER_1_TS_ID", "70000"}};
    const auto section = section_of([](dvb_table& table) { return create_pat_table(table, 65535, 2); });
    expect_sound(section);
    EXPECT_THAT(std::span(section).subspan(3, 2), ElementsAre(0x11, 0x70));
    EXPECT_THAT(std::span(section).subspan(12, 8), // the number after 65535 is 0
        ElementsAre(0xFF, 0xFF, 0xE1, 0x00, 0x00, 0x00, 0xE1, 0x01));
}

TEST(Pmt, ListsVideoAudioAndSubtitles)
{
    const auto section =
        section_of([](dvb_table& table) { return create_pmt_table(table, 100, 4352, 15, 4368); });
    EXPECT_THAT(section,
        ElementsAreArray<std::uint8_t>({
            0x02, 0xB0, 0x26,             // table_id, section_length
            0x00, 0x64, 0xE1, 0x00, 0x00, // program_number, version 16, section numbers
            0xF0, 0x01, 0xF0, 0x00,       // PCR_PID, program_info_length
            0x1B, 0xF0, 0x11, 0xF0, 0x00, // video
            0x0F, 0xF1, 0x00, 0xF0, 0x00, // audio
            0x06, 0xF1, 0x10, 0xF0, 0x0A, // subtitles
            0x59, 0x08, 'f', 'r', 'a', 0x10, 0x00, 0x01, 0x00, 0x01, // subtitling_descriptor
            0xDC, 0xB9, 0x63, 0x58,                                  // CRC_32
        }));
}

TEST(Pmt, LeavesNoRoomForAbsentStreams)
{
    const auto video = pmt_of({.program_number = -1});
    expect_sound(video);
    EXPECT_EQ(video.size(), 21U);

    const auto audio = pmt_of({.audio_pid = 4352, .audio_stream_type = 3});
    expect_sound(audio);
    EXPECT_EQ(audio.size(), 26U);
    EXPECT_THAT(std::span(audio).subspan(17, 5), ElementsAre(0x03, 0xF1, 0x00, 0xF0, 0x00));

    const auto subtitles = pmt_of({.subtitle_pid = 4370});
    expect_sound(subtitles);
    EXPECT_EQ(subtitles.size(), 36U);
    EXPECT_THAT(std::span(subtitles).subspan(17, 5), ElementsAre(0x06, 0xF1, 0x12, 0xF0, 0x0A));
}

} // namespace
