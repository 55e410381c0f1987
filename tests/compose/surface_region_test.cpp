#include "surface_region.h"

#include "canvas.h"
#include "capture.h"
#include "drawings.h"

#include <gtest/gtest.h>
#include <utility>

namespace {

constexpr struct {
    const char* what;
    std::uint32_t argb;
    yuva pixel;
} conversions[] = {
    {"transparent", 0x00000000, transparent},
    {"black", 0xFF000000, opaque_black},
    {"white", 0xFFFFFFFF, opaque_white},
    {"red", 0xFFFF0000, opaque_red},
    {"green", 0xFF00FF00, opaque_green},
    {"blue", 0xFF0000FF, opaque_blue},
    {"half transparent red, premultiplied", 0x80800000, half_red},
    {"yellow", 0xFFFFFF00, {210, 16, 146, 255}},
    {"one step of red", 0x01010000, {16, 128, 128, 1}},
};

TEST(PixelConversion, RoundsTowardMinusInfinity)
{
    for (const auto& [what, argb, pixel] : conversions)
        EXPECT_EQ(yuva_of(argb), pixel) << what;
}

constexpr struct {
    const char* what;
    std::uint32_t x;
    std::uint32_t y;
    bool accepted;
} positions[] = {
    {"the top left corner", 0, 0, true},
    {"the borders", 720, 576, true},
    {"right of the display", 721, 0, false},
    {"below the display", 0, 577, false},
    {"left of the display", static_cast<std::uint32_t>(-20), 0, false},
    {"above the display", 0, static_cast<std::uint32_t>(-1), false},
};

TEST(RegionCheck, AcceptsCornersOnTheDisplay)
{
    const auto display_set = new_display_set();
    for (const auto& [what, x, y, accepted] : positions) {
        const auto format = yuva_format(1000, 1000, x, y);
        bool result = !accepted;
        const auto messages = stderr_of([&] { result = is_on_display(format, *display_set); });
        EXPECT_EQ(result, accepted) << what;
        EXPECT_EQ(messages, accepted ? "" : "Error: Region out of display\n") << what;
    }
}

void paint_pixel(const canvas& target, int column, int line, const rgba& colour)
{
    set_colour(target.context.get(), colour);
    cairo_rectangle(target.context.get(), column, line, 1, 1);
    cairo_fill(target.context.get());
}

std::int32_t add(canvas drawn, const region_format& format, subpicture& display_set)
{
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), format, display_set);
}

TEST(SurfaceRegion, HoldsThePixelsOfTheSurface)
{
    const auto display_set = new_display_set();
    canvas drawn = new_canvas(3, 2);
    paint_pixel(drawn, 0, 0, {.red = 1, .alpha = 1});
    paint_pixel(drawn, 2, 0, {.green = 1, .alpha = 1});
    paint_pixel(drawn, 1, 1, {.blue = 1, .alpha = 1});
    paint_pixel(drawn, 2, 1, {.red = 1, .alpha = 128 / 255.0});
    EXPECT_EQ(add(std::move(drawn), yuva_format(3, 2, 7, 9), *display_set), 0);
    const auto* region = display_set->regions;
    ASSERT_EQ(shape_of(region), "3x2+7+9");
    const yuva expected[] = {opaque_red, transparent, opaque_green, transparent, opaque_blue, half_red};
    for (std::uint32_t n = 0; n < 6; ++n)
        EXPECT_EQ(pixel_of(region, n % 3, n / 3), expected[n]) << n;
}

TEST(SurfaceRegion, JoinsTheEndOfTheList)
{
    const auto display_set = new_display_set();
    for (const std::uint32_t size : {1U, 2U, 3U})
        EXPECT_EQ(add(new_canvas(2, 2), yuva_format(2, 2, size, size), *display_set), 0);
    ASSERT_EQ(region_count(*display_set), 3);
    EXPECT_EQ(display_set->regions->x, 1);
    EXPECT_EQ(display_set->regions->next->x, 2);
    EXPECT_EQ(display_set->regions->next->next->x, 3);
}

constexpr struct {
    const char* what;
    region_format format;
    int surface_width;
    std::int32_t result;
    const char* messages;
} unusable_surfaces[] = {
    {"no width", {.width = 0, .height = 10, .x = 40, .y = 30}, 0, 0,
        "Empty region of 0x10 pixels at (40,30) left out\n"},
    {"no height", {.width = 50'000, .height = 0}, 50'000, 0,
        "Empty region of 50000x0 pixels at (0,0) left out\n"},
    {"more pixels than cairo takes", {.width = 32'768, .height = 1}, 32'768, -1,
        "Error: Cannot draw region of 32768x1 pixels: "
        "invalid value (typically too big) for the size of the input (surface, pattern, etc.)\n"},
    {"more pixels than there is memory for", {.width = 4'294'967'295, .height = 4'294'967'295}, 1, -1,
        "Error: Cannot allocate region of 4294967295x4294967295 pixels\n"},
};

TEST(SurfaceRegion, IsNotAddedWithoutPixels)
{
    for (const auto& unusable : unusable_surfaces) {
        const auto added = outcome_of([&](subpicture* display_set) {
            return add(new_canvas(unusable.surface_width, 1), unusable.format, *display_set);
        });
        EXPECT_EQ(added.result, unusable.result) << unusable.what;
        EXPECT_EQ(added.messages, unusable.messages) << unusable.what;
        EXPECT_EQ(region_of(added), nullptr) << unusable.what;
    }
}

} // namespace
