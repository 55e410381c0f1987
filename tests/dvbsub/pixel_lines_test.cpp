#include "pixel_lines.h"

#include "pages.h"

#include <gtest/gtest.h>

namespace {

using bytes = std::vector<std::uint8_t>;

const struct {
    std::int32_t entry_count;
    std::uint32_t length;
    std::uint8_t colour;
    bytes coded;
} runs[] = {
    {4, 0, 0, {0x10, 0x00, 0xF0}},
    {4, 2, 3, {0x10, 0xF0, 0x00, 0xF0}},
    {4, 11, 2, {0x10, 0x8F, 0x80, 0xF0}},
    {4, 28, 0, {0x10, 0x10, 0xBC, 0x00, 0xF0}},
    {4, 285, 1, {0x10, 0x0F, 0xFD, 0x40, 0xF0}},
    {16, 0, 0, {0x11, 0x00, 0xF0}},
    {16, 3, 5, {0x11, 0x55, 0x50, 0x00, 0xF0}},
    {16, 8, 0, {0x11, 0x0C, 0x05, 0x00, 0xF0}},
    {16, 10, 3, {0x11, 0x0E, 0x13, 0x00, 0xF0}},
    {16, 281, 1, {0x11, 0x0F, 0xFF, 0x11, 0x00, 0xF0}},
    {256, 0, 0, {0x12, 0x00, 0x00, 0xF0}},
    {256, 2, 7, {0x12, 0x07, 0x07, 0x00, 0x00, 0xF0}},
    {256, 3, 7, {0x12, 0x00, 0x83, 0x07, 0x00, 0x00, 0xF0}},
    {256, 128, 0, {0x12, 0x00, 0x7F, 0x00, 0x01, 0x00, 0x00, 0xF0}},
};

} // namespace

// The others are those of the plain form: see Equality.
TEST(PixelLines, ChoosesTheCodeByLengthAndColour)
{
    for (const auto& [entry_count, length, colour, coded] : runs) {
        const page_owner page = new_page();
        auto& region = add_region(*page, length, 1);
        region.chroma = chroma_yuvp;
        region.palette->entry_count = entry_count;
        std::fill_n(region.picture->buffer, length, colour);
        bytes buffer(16);
        bit_writer out;
        bs_init(out, buffer.data(), buffer.size());
        encode_pixel_data(out, region, 1);
        buffer.resize(static_cast<std::size_t>(bs_pos(out)) / 8);
        EXPECT_EQ(buffer, coded) << entry_count << " entries, " << length << " of colour " << int{colour};
    }
}
