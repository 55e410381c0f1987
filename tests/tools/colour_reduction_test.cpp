#include "colour_reduction.h"

#include <gmock/gmock.h>

using testing::Each;
using testing::ElementsAre;

namespace {

palette_entry grey(unsigned y)
{
    return {static_cast<std::uint8_t>(y), 128, 128, 255};
}

palette_entry corner(unsigned i)
{
    const auto end = [i](unsigned bit, unsigned high) {
        return static_cast<std::uint8_t>((i >> bit & 1U) * high);
    };
    return {end(0, 254), end(1, 254), end(2, 254), end(3, 255)};
}

} // namespace

TEST(ColourReduction, LeavesOneColourAlone)
{
    const yuva_image image{
        .width = 3, .height = 2, .pixels = std::vector<palette_entry>(6, {81, 90, 240, 9})};
    const colour_reduction result = reduce_colours(image);
    EXPECT_EQ(result.colours_before, 1U);
    EXPECT_THAT(result.palette, ElementsAre(palette_entry{81, 90, 240, 9}));
    EXPECT_THAT(result.indices, Each(0));
    EXPECT_EQ(result.tolerance, 0);
    EXPECT_TRUE(result.tolerance_sufficed);
    EXPECT_EQ(result.largest_error, 0);
}

// A ramp of 32 greys in steps of 8: 15 of them stand for all only from a tolerance of 8 on. The second
// row goes farthest from what it wants: 75 is shown as 64, and 5/8 of these 11 are carried on.
TEST(ColourReduction, MeasuresARamp)
{
    yuva_image image{.width = 8, .height = 4};
    for (unsigned i = 0; i < 32; ++i)
        image.pixels.push_back(grey(8 * i));
    const colour_reduction result = reduce_colours(image);
    EXPECT_EQ(result.colours_before, 32U);
    EXPECT_EQ(result.tolerance, 8);
    EXPECT_TRUE(result.tolerance_sufficed);
    std::vector<palette_entry> palette;
    for (const unsigned y :
        {0U, 200U, 144U, 88U, 32U, 232U, 176U, 120U, 64U, 16U, 216U, 160U, 104U, 48U, 248U})
        palette.push_back(grey(y));
    EXPECT_EQ(result.palette, palette);
    EXPECT_EQ(result.indices,
        (std::vector<std::uint8_t>{0, 0, 9, 4, 4, 4, 13, 8, 8, 8, 3, 3, 3, 12, 7, 7, //
            7, 2, 2, 2, 11, 6, 6, 6, 1, 1, 1, 10, 5, 5, 5, 14}));
    EXPECT_EQ(result.largest_error, 6);
}

// Colours of which no tolerance merges two.
TEST(ColourReduction, TellsWhenNoToleranceSuffices)
{
    yuva_image image{.width = 16, .height = 1};
    for (unsigned i = 0; i < 16; ++i)
        image.pixels.push_back(corner(i));
    const colour_reduction result = reduce_colours(image);
    EXPECT_EQ(result.tolerance, 127);
    EXPECT_FALSE(result.tolerance_sufficed);
    EXPECT_EQ(result.palette.size(), 16U);
}

TEST(ColourReduction, ToleratesHalfAsMuchInOpacity)
{
    yuva_image image{.width = 16, .height = 1};
    for (unsigned i = 0; i < 15; ++i)
        image.pixels.push_back(corner(i));
    image.pixels.push_back(corner(0));
    image.pixels.back()[3] = 1;
    EXPECT_EQ(reduce_colours(image).tolerance, 2);
}
