#include "pat_pmt.h"

#include "section_bytes.h"

namespace {

using testing::ElementsAreArray;

TEST(Pat, ListsTheNetworkAndEveryProgram)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return create_pat_table(table, 100, 3); }),
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

TEST(Pmt, ListsVideoAudioAndSubtitles)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return create_pmt_table(table, 100, 4352, 15, 4368); }),
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
    dvb_table table;
    EXPECT_EQ(create_pmt_table(table, 100, 0, 15, 0), 21);
    EXPECT_EQ(create_pmt_table(table, 100, 4352, 15, 0), 26);
    EXPECT_EQ(create_pmt_table(table, 100, 0, 15, 4368), 36);
}

} // namespace
