#include "pixel_strings.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// "0001 1" as bytes, with zero bits up to the end of the last one.
std::vector<std::uint8_t> bits(const std::string& digits)
{
    std::vector<std::uint8_t> bytes;
    unsigned count = 0;
    for (const char digit : digits) {
        if (digit == ' ')
            continue;
        if (count % 8 == 0)
            bytes.push_back(0);
        bytes.back() = static_cast<std::uint8_t>(bytes.back() | (digit - '0') << (7 - count % 8));
        ++count;
    }
    return bytes;
}

/// A line of one sub-block, its string in bits.
std::vector<std::uint8_t> line(std::uint8_t data_type, const std::string& string)
{
    std::vector<std::uint8_t> bytes = bits(string);
    bytes.insert(bytes.begin(), data_type);
    bytes.push_back(0xF0);
    return bytes;
}

struct pixels {
    std::size_t count;
    std::uint8_t colour;
};

pixel_row row_of(std::initializer_list<pixels> runs)
{
    pixel_row row;
    for (const auto& [count, colour] : runs)
        row.insert(row.end(), count, colour);
    return row;
}

} // namespace

// ETSI EN 300 743, tables 21 to 23: every kind of code, with its shortest or longest run.
TEST(PixelStrings, KnowEveryCode)
{
    const struct {
        const char* what;
        std::vector<std::uint8_t> bytes;
        std::uint32_t depth_bits;
        pixel_row row;
    } cases[] = {
        {"2 bits: single pixels", line(0x10, "01 0001 11 000001 000000"), 2,
            row_of({{1, 1}, {1, 0}, {1, 3}, {2, 0}})},
        {"2 bits: 3 to 10", line(0x10, "001 000 10 001 111 00 000000"), 2, row_of({{3, 2}, {10, 0}})},
        {"2 bits: 12 to 27", line(0x10, "000010 0000 01 000010 1111 10 000000"), 2,
            row_of({{12, 1}, {27, 2}})},
        {"2 bits: 29 to 284", line(0x10, "000011 00000000 11 000011 11111111 00 000000"), 2,
            row_of({{29, 3}, {284, 0}})},
        {"4 bits: single pixels", line(0x11, "0101 00001100 1111 00001101 00000000"), 4,
            row_of({{1, 5}, {1, 0}, {1, 15}, {2, 0}})},
        {"4 bits: 3 to 9 of colour 0", line(0x11, "00000 001 00000 111 00000000"), 4, row_of({{12, 0}})},
        {"4 bits: 4 to 7", line(0x11, "000010 00 0011 000010 11 1000 00000000"), 4, row_of({{4, 3}, {7, 8}})},
        {"4 bits: 9 to 24", line(0x11, "00001110 0000 0111 00001110 1111 0000 00000000"), 4,
            row_of({{9, 7}, {24, 0}})},
        {"4 bits: 25 to 280", line(0x11, "00001111 00000000 0001 00001111 11111111 1111 00000000"), 4,
            row_of({{25, 1}, {280, 15}})},
        {"8 bits", line(0x12, "11111111 00000000 00000010 00000000 10000011 00000111 00000000 00000000"), 8,
            row_of({{1, 255}, {2, 0}, {3, 7}})},
        {"no pixel", line(0x11, "00000000"), 4, {}},
    };
    for (const auto& [what, bytes, depth_bits, row] : cases) {
        const pixel_data data = read_pixel_data(bytes);
        EXPECT_EQ(data.problem, "") << what;
        EXPECT_EQ(data.depth_bits, depth_bits) << what;
        EXPECT_THAT(data.rows, ElementsAre(row)) << what;
    }
}

TEST(PixelStrings, AreReadLineByLine)
{
    // Several sub-blocks may make up one line, and a line may have none.
    const pixel_data data =
        read_pixel_data(std::vector<std::uint8_t>{0x11, 0x50, 0x00, 0x11, 0x67, 0x00, 0xF0, 0xF0});
    EXPECT_EQ(data.problem, "");
    EXPECT_THAT(data.rows, ElementsAre(pixel_row{5, 6, 7}, pixel_row{}));
}

TEST(PixelStrings, TellWhatIsWrongWithThem)
{
    const struct {
        std::vector<std::uint8_t> bytes;
        const char* problem;
    } cases[] = {
        {{0x13, 0x00, 0xF0}, "data_type 0x13"},
        {{0x20, 0x07, 0x8F, 0x11, 0x10, 0x00, 0xF0}, "data_type 0x20"}, // a map table
        {{0x11, 0x55}, "without its end"},
        {{0x11, 0x50, 0x00}, "without its end_of_object_line_code"},
        {{0x11, 0x50, 0x01, 0xF0}, "stuffing bits"},
        {{0x10, 0x40, 0x11, 0x00, 0xF0}, "different depths"},
        {{0x12, 0x00, 0x82, 0x07, 0x00, 0x00, 0xF0}, "a run that its code cannot have"},
    };
    for (const auto& [bytes, problem] : cases)
        EXPECT_THAT(read_pixel_data(bytes).problem, HasSubstr(problem));
    EXPECT_EQ(read_pixel_data({}).problem, ""); // a field without lines
}
