#include "colour_reduction.h"

#include <gtest/gtest.h>

namespace {

palette_entry grey(unsigned y)
{
    return {static_cast<std::uint8_t>(y), 128, 128, 255};
}

} // namespace

TEST(ColourReduction, FindsTheLeastToleranceThatSuffices)
{
    yuva_image image{.width = 16, .height = 1};
    image.pixels.assign(16, grey(9));
    const colour_reduction one_colour = reduce_colours(image);
    EXPECT_EQ(one_colour.tolerance, 0);
    EXPECT_TRUE(one_colour.tolerance_sufficed);
    EXPECT_EQ(one_colour.palette.size(), 1U);

    for (unsigned i = 0; i < 16; ++i) { // at one end or the other of each component
        const auto end = [i](unsigned bit) { return static_cast<std::uint8_t>((i >> bit & 1U) * 254); };
        image.pixels[i] = {end(0), end(1), end(2), end(3)};
    }
    const colour_reduction none_suffices = reduce_colours(image);
    EXPECT_EQ(none_suffices.tolerance, 127);
    EXPECT_FALSE(none_suffices.tolerance_sufficed);
    EXPECT_EQ(none_suffices.palette.size(), 16U);

    image.pixels[15] = {0, 0, 0, 1}; // opacity has half of the tolerance
    EXPECT_EQ(reduce_colours(image).tolerance, 2);
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
    EXPECT_EQ(result.palette[1], grey(200));
    EXPECT_EQ(result.indices,
        (std::vector<std::uint8_t>{0, 0, 9, 4, 4, 4, 13, 8, 8, 8, 3, 3, 3, 12, 7, 7, //
            7, 2, 2, 2, 11, 6, 6, 6, 1, 1, 1, 10, 5, 5, 5, 14}));
    EXPECT_EQ(result.largest_error, 6);
}
