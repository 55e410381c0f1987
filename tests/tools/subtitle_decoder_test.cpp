#include "subtitle_decoder.h"

#include "formatted.h"

#include <gmock/gmock.h>
#include <sstream>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using byte_string = std::vector<std::uint8_t>;

/// "47 40 11" as bytes.
byte_string bytes_of(const std::string& hexadecimal)
{
    byte_string bytes;
    std::istringstream text(hexadecimal);
    for (unsigned value = 0; text >> std::hex >> value;)
        bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

/// A page with one white region of 4 x 2 pixels at (10,20), put together by hand.
byte_string white_page()
{
    std::string text = "20 00 "                                           // data_identifier, stream id
                       "0F 10 00 01 00 08 FA 08 00 00 00 0A 00 14 "       // page: mode change
                       "0F 11 00 01 00 10 00 08 00 04 00 02 48 01 01 14 " // region: 4-bit, CLUT 1, filled
                       "00 00 00 00 00 00 "                               // with object 0 at (0,0)
                       "0F 12 00 01 00 62 01 00 00 41 EB 80 81 00 ";      // CLUT 1: entry 0 is white
    for (unsigned entry = 1; entry < 16; ++entry)                         // the others transparent
        text += formatted("%02X 41 00 00 00 FF ", entry);
    return bytes_of(text
        + "0F 13 00 01 00 10 00 00 10 00 04 00 04 11 02 00 F0 11 02 00 F0 00 " // object: a line per field
          "0F 80 00 01 00 00 FF");
}

constexpr std::size_t page_segment = 2;
constexpr std::size_t region_segment = 16;
constexpr std::size_t clut_segment = 38;
constexpr std::size_t object_segment = 142;
constexpr std::size_t end_segment = 164;

/// A byte of the page with another value.
const struct {
    const char* what;
    std::size_t position;
    std::uint8_t value;
    const char* problem;
} faults[] = {
    {"data_identifier", 0, 0x21, "do not begin as subtitles"},
    {"sync_byte", region_segment, 0x0E, "neither a segment nor the end marker at byte 16"},
    {"segment_length beyond the end", object_segment + 5, 24, "the segment at byte 142 goes beyond"},
    {"end marker", 170, 0xFE, "neither a segment nor the end marker at byte 170"},
    {"segment type", clut_segment + 1, 0x14, "type 0x14 is not decoded"},
    {"two pages", object_segment + 3, 2, "of different pages"},
    {"order", end_segment + 1, 0x10, "not in their order"},
    {"end of display set missing", end_segment + 1, 0x10, "one end of display set"},

    {"page length", page_segment + 5, 7, "does not fit its regions"},
    {"reserved page_state", page_segment + 7, 0x0C, "page_state 3"},
    {"region of another page composition", region_segment + 6, 1, "region 1 is not on the page"},
    {"and so the other one", region_segment + 6, 1, "region 0 is not composed"},
    {"no width", region_segment + 9, 0, "region 0: no pixel"},
    {"reserved depth", region_segment + 12, 0x40, "region_depth 0"},
    {"level of compatibility", region_segment + 12, 0x68, "region_level_of_compatibility 3"},
    {"another CLUT", region_segment + 13, 2, "there is no CLUT 2"},
    {"another object", region_segment + 17, 9, "object 9: there is no such object"},
    {"which leaves one over", region_segment + 17, 9, "object 0 is in no region"},
    {"character object", region_segment + 18, 0x40, "type 1 and provider 0"},
    {"entry of the 8-bit table", clut_segment + 9, 0x21, "CLUT 1 has no entry 0"},
    {"entry beyond the table", clut_segment + 8, 16, "entry 16 is beyond"},
    {"entry twice", clut_segment + 8, 1, "entry 1 twice"},
    {"coding method", object_segment + 8, 0x04, "coding method 1"},

    {"too wide a line", region_segment + 9, 3, "a line of 4 pixels in a region that is 3 wide"},
    {"too many lines", region_segment + 11, 1, "lines below the region"},
    {"moved to the right", region_segment + 19, 1, "a line of 4 pixels"},
    {"2-bit codes", object_segment + 13, 0x10, "object 0: top field"},
    {"top field too long", object_segment + 10, 7, "its fields go beyond its end"},
    {"stuffing", end_segment - 1, 1, "bytes behind its fields"},
};

} // namespace

TEST(SubtitleDecoder, ReadsAWholeDisplaySet)
{
    const decoded_page page = decode_display_set(white_page());
    EXPECT_THAT(page.problems, IsEmpty());
    EXPECT_EQ(page.page_id, 1U);
    EXPECT_EQ(page.time_out_s, 250U);
    EXPECT_EQ(page.state, 2U);
    ASSERT_EQ(page.regions.size(), 1U);
    const decoded_region& region = page.regions[0];
    EXPECT_THAT((std::array{region.x, region.y, region.width, region.height}), ElementsAre(10, 20, 4, 2));
    EXPECT_EQ(region.fill_index, 1U);
    EXPECT_EQ(region.colours[0], (clut_colour{.y = 235, .cr = 128, .cb = 129, .t = 0, .defined = true}));
    EXPECT_EQ(region.colours[15], (clut_colour{.t = 255, .defined = true}));
    EXPECT_EQ(region.indices, std::vector<std::uint8_t>(8, 0));
}

/// Without full_range_flag an entry has the most significant 6, 4, 4 and 2 bits (7.2.4); a 2-bit region is
/// filled with a code of its own (7.2.3).
TEST(SubtitleDecoder, ReadsWhatTheDaemonDoesNotSend)
{
    byte_string bytes = white_page();
    bytes[region_segment + 12] = 0x24; // region_level_of_compatibility and region_depth
    bytes[region_segment + 15] = 0x18; // region_4-bit_pixel-code 1, region_2-bit_pixel-code 2
    bytes[clut_segment + 9] = 0xC0;    // of the tables of 2 and 4 bits, in 2 bytes
    bytes[clut_segment + 10] = 0xEE;   // 111011 10
    bytes[clut_segment + 11] = 0x96;   // 10 0101 10
    bytes[clut_segment + 5] -= 2;      // segment_length
    bytes.erase(bytes.begin() + clut_segment + 12, bytes.begin() + clut_segment + 14);
    const decoded_page page = decode_display_set(bytes);
    ASSERT_EQ(page.regions.size(), 1U);
    EXPECT_EQ(page.regions[0].fill_index, 2U);
    EXPECT_EQ(page.regions[0].colours[0],
        (clut_colour{.y = 0xEC, .cr = 0xA0, .cb = 0x50, .t = 0x80, .defined = true}));
}

TEST(SubtitleDecoder, GivesTheBottomFieldWhatTheTopHasWhenItIsEmpty)
{
    byte_string bytes = white_page();
    bytes[region_segment + 7] = 0;  // not filled
    bytes[object_segment + 5] = 11; // segment_length
    bytes[object_segment + 12] = 0; // bottom_field_data_block_length
    bytes.erase(bytes.begin() + object_segment + 17, bytes.begin() + end_segment);
    EXPECT_THAT(decode_display_set(bytes).problems, IsEmpty());
}

TEST(SubtitleDecoder, NamesEveryFault)
{
    for (const auto& [what, position, value, problem] : faults) {
        byte_string bytes = white_page();
        bytes[position] = value;
        EXPECT_THAT(decode_display_set(bytes).problems, Contains(HasSubstr(problem))) << what;
    }
    byte_string vast = white_page();
    vast[region_segment + 8] = 0xFF; // 65284 pixels wide
    vast[region_segment + 10] = 0xFF;
    EXPECT_THAT(decode_display_set(vast).problems, Contains(HasSubstr("65284x65282 pixels are too many")));
    for (const auto& [begin, end, problem] :
        {std::tuple{region_segment, clut_segment, "region 0 is composed twice"},
            {clut_segment, object_segment, "CLUT 1 is defined twice"},
            {object_segment, end_segment, "object 0 is sent twice"}}) {
        byte_string doubled = white_page();
        const auto segment = std::span(doubled).subspan(begin, end - begin);
        const byte_string copy(segment.begin(), segment.end());
        doubled.insert(doubled.begin() + static_cast<std::ptrdiff_t>(end), copy.begin(), copy.end());
        EXPECT_THAT(decode_display_set(doubled).problems, Contains(problem));
    }
    byte_string narrow = white_page();
    narrow[region_segment + 7] = 0; // not filled
    narrow[region_segment + 9] = 5; // wider than its object
    EXPECT_THAT(decode_display_set(narrow).problems, ElementsAre("region 0: 2 pixels without a colour"));
}
