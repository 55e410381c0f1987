#include "pixel_strings.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;

using bytes = std::vector<std::uint8_t>;

// ETSI EN 300 743, tables 21 to 23: every kind of code, the runs with their greatest length or colour.
TEST(PixelStrings, KnowEveryCode)
{
    struct run {
        std::size_t count;
        std::uint8_t colour;
    };
    const struct {
        const char* what;
        bytes block;
        std::uint32_t depth_bits;
        std::vector<run> runs;
    } cases[] = {
        // 01 0001 11 000001 | 001 111 10 000010 1111 11 | 000011 11111111 01 000000
        {"2 bits", {0x10, 0x47, 0x04, 0xF8, 0x2F, 0xC3, 0xFF, 0x40, 0xF0}, 2,
            {{1, 1}, {1, 0}, {1, 3}, {2, 0}, {10, 2}, {27, 3}, {284, 1}}},
        // 0101 00001100 00001101 00000111 000010 11 1000 00001110 1111 0001 00001111 11111111 1111 00000000
        {"4 bits", {0x11, 0x50, 0xC0, 0xD0, 0x70, 0xB8, 0x0E, 0xF1, 0x0F, 0xFF, 0xF0, 0x00, 0xF0}, 4,
            {{1, 5}, {1, 0}, {2, 0}, {9, 0}, {7, 8}, {24, 1}, {280, 15}}},
        {"8 bits", {0x12, 0xFF, 0x00, 0x7F, 0x00, 0xFF, 0x07, 0x00, 0x83, 0x00, 0x00, 0x00, 0xF0}, 8,
            {{1, 255}, {127, 0}, {127, 7}, {3, 0}}},
        {"several sub-blocks in a line", {0x11, 0x50, 0x00, 0x11, 0x67, 0x00, 0xF0}, 4,
            {{1, 5}, {1, 6}, {1, 7}}},
    };
    for (const auto& [what, block, depth_bits, runs] : cases) {
        pixel_row row;
        for (const auto& [count, colour] : runs)
            row.insert(row.end(), count, colour);
        const pixel_data data = read_pixel_data(block);
        EXPECT_EQ(data.problem, "") << what;
        EXPECT_EQ(data.depth_bits, depth_bits) << what;
        EXPECT_THAT(data.rows, ElementsAre(row)) << what;
    }
}

TEST(PixelStrings, TellWhatIsWrongWithThem)
{
    const struct {
        bytes block;
        const char* problem;
    } cases[] = {
        {{0x20, 0x07, 0x8F, 0x11, 0x10, 0x00, 0xF0}, "data_type 0x20"}, // a map table
        {{0x11, 0x55}, "without its end"},
        {{0x11, 0x50, 0x00}, "without its end_of_object_line_code"},
        {{0x11, 0x50, 0x01, 0xF0}, "stuffing bits"},
        {{0x10, 0x40, 0x11, 0x00, 0xF0}, "different depths"},
        {{0x12, 0x00, 0x82, 0x07, 0x00, 0x00, 0xF0}, "a run that its code cannot have"},
    };
    for (const auto& [block, problem] : cases)
        EXPECT_THAT(read_pixel_data(block).problem, HasSubstr(problem));
    EXPECT_EQ(read_pixel_data({}).problem, ""); // a field without lines
    EXPECT_THAT(read_pixel_data(bytes{0xF0, 0xF0}).rows, ElementsAre(pixel_row{}, pixel_row{}));
}
