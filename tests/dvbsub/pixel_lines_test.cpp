#include "pixel_lines.h"

#include "capture.h"
#include "pages.h"
#include "subtitle_reader.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using bytes = std::vector<std::uint8_t>;

bytes field_of(const subpicture_region& region, std::uint8_t top)
{
    bytes buffer(4096);
    bit_writer out;
    bs_init(out, buffer.data(), buffer.size());
    encode_pixel_data(out, region, top);
    EXPECT_EQ(bs_pos(out) % 8, 0);
    buffer.resize(static_cast<std::size_t>(bs_pos(out)) / 8);
    return buffer;
}

bytes line_of(std::int32_t entry_count, const bytes& pixels)
{
    const page_owner page = new_page();
    return field_of(
        add_indexed_region(*page, static_cast<std::uint32_t>(pixels.size()), entry_count, pixels), 1);
}

const struct {
    std::int32_t entry_count;
    std::uint32_t length;
    std::uint8_t colour;
    bytes coded;
} runs[] = {
    {4, 1, 0, {0x10, 0x10, 0x00, 0xF0}},
    {4, 2, 0, {0x10, 0x04, 0x00, 0xF0}},
    {4, 2, 3, {0x10, 0xF0, 0x00, 0xF0}},
    {4, 11, 2, {0x10, 0x8F, 0x80, 0xF0}},
    {4, 12, 3, {0x10, 0x08, 0x30, 0x00, 0xF0}},
    {4, 28, 0, {0x10, 0x10, 0xBC, 0x00, 0xF0}},
    {4, 29, 1, {0x10, 0x0C, 0x01, 0x00, 0xF0}},
    {4, 285, 1, {0x10, 0x0F, 0xFD, 0x40, 0xF0}},
    {16, 1, 0, {0x11, 0x0C, 0x00, 0xF0}},
    {16, 2, 0, {0x11, 0x0D, 0x00, 0xF0}},
    {16, 3, 0, {0x11, 0x01, 0x00, 0xF0}},
    {16, 3, 5, {0x11, 0x55, 0x50, 0x00, 0xF0}},
    {16, 7, 9, {0x11, 0x0B, 0x90, 0x00, 0xF0}},
    {16, 8, 0, {0x11, 0x0C, 0x05, 0x00, 0xF0}},
    {16, 8, 9, {0x11, 0x90, 0xB9, 0x00, 0xF0}},
    {16, 9, 0, {0x11, 0x07, 0x00, 0xF0}},
    {16, 10, 0, {0x11, 0x0E, 0x10, 0x00, 0xF0}},
    {16, 10, 3, {0x11, 0x0E, 0x13, 0x00, 0xF0}},
    {16, 25, 2, {0x11, 0x0F, 0x00, 0x20, 0x00, 0xF0}},
    {16, 281, 1, {0x11, 0x0F, 0xFF, 0x11, 0x00, 0xF0}},
    {256, 1, 0, {0x12, 0x00, 0x01, 0x00, 0x00, 0xF0}},
    {256, 2, 0, {0x12, 0x00, 0x02, 0x00, 0x00, 0xF0}},
    {256, 2, 7, {0x12, 0x07, 0x07, 0x00, 0x00, 0xF0}},
    {256, 3, 7, {0x12, 0x00, 0x83, 0x07, 0x00, 0x00, 0xF0}},
    {256, 128, 7, {0x12, 0x00, 0xFF, 0x07, 0x07, 0x00, 0x00, 0xF0}},
};

} // namespace

TEST(PixelLines, ChoosesTheCodeByLengthAndColour)
{
    for (const auto& [entry_count, length, colour, coded] : runs)
        EXPECT_EQ(line_of(entry_count, bytes(length, colour)), coded)
            << entry_count << " entries, " << length << " of colour " << int{colour};
}

TEST(PixelLines, EveryOtherLineBelongsToAField)
{
    const page_owner page = new_page();
    const auto& five = add_indexed_region(*page, 1, 16, {1, 2, 3, 4, 5});
    EXPECT_THAT(
        read_pixel_data(field_of(five, 1)), testing::Optional(ElementsAre(bytes{1}, bytes{3}, bytes{5})));
    EXPECT_THAT(read_pixel_data(field_of(five, 0)), testing::Optional(ElementsAre(bytes{2}, bytes{4})));
    const auto& one = add_indexed_region(*page, 5, 16, {1, 2, 3, 4, 5});
    EXPECT_THAT(field_of(one, 0), IsEmpty());
}

TEST(PixelLines, ALineOfNoPixelsIsAnEmptyString)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 0, 1);
    region.chroma = chroma_yuvp;
    for (const auto& [entry_count, coded] :
        {std::pair{4, bytes{0x10, 0, 0xF0}}, {16, bytes{0x11, 0, 0xF0}}, {256, bytes{0x12, 0, 0, 0xF0}}}) {
        region.palette->entry_count = entry_count;
        EXPECT_EQ(field_of(region, 1), coded);
    }
}

TEST(PixelLines, WithoutADepthThereIsOnlyTheEndOfTheLine)
{
    const page_owner page = new_page();
    auto& region = add_indexed_region(*page, 1, 0, {1, 2, 3});
    EXPECT_EQ(stderr_of([&] { EXPECT_THAT(field_of(region, 1), ElementsAre(0xF0, 0xF0)); }), "");
    region.palette->entry_count = 8;
    EXPECT_EQ(stderr_of([&] { EXPECT_THAT(field_of(region, 1), ElementsAre(0xF0, 0xF0)); }),
        "subpicture palette (8) not handled\nsubpicture palette (8) not handled\n");
    region.chroma = chroma_yuva;
    EXPECT_THAT(field_of(region, 1), IsEmpty());
}
