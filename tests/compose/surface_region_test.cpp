#include "surface_region.h"

#include "canvas.h"
#include "drawings.h"

#include <gtest/gtest.h>
#include <utility>

namespace {

TEST(PixelConversion, RoundsTowardMinusInfinity)
{
    for (const auto& [letter, argb, pixel] : letter_colours)
        EXPECT_EQ(yuva_of(argb), pixel) << letter;
    // 66 + 25 * 238 + 128 is a multiple of 256, as is not with one less.
    EXPECT_EQ(yuva_of(0x800100EE), (yuva{.y = 24 + 16, .u = 104 + 128, .v = 128 - 16, .a = 0x80}));
}

TEST(SurfaceRegion, NeedsASurfaceAndMemory)
{
    const auto report = [](int surface_width, std::uint32_t size) {
        return outcome_of([&](subpicture* set) {
            auto [surface, context] = new_canvas(surface_width, 1);
            return AddSurfaceRegion(std::move(surface), std::move(context), yuva_format(size, size), *set);
        }).report;
    };
    EXPECT_EQ(report(-1, 10),
        "-1 Value too large for defined data type: Error: Cannot draw region of 10x10 pixels: "
        "invalid value (typically too big) for the size of the input (surface, pattern, etc.)\n");
    EXPECT_EQ(report(1, 0xFFFFFFFF),
        "-1 Cannot allocate memory: Error: Cannot allocate region of 4294967295x4294967295 pixels\n");
}

} // namespace
