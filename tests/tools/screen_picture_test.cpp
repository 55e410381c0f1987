#include "screen_picture.h"

#include <gtest/gtest.h>

namespace {

constexpr rgba_pixel white{255, 255, 255, 255};

decoded_region region_at(std::uint32_t x, std::uint32_t y, const clut_colour& colour)
{
    return {.x = x, .y = y, .width = 2, .height = 2, .colours = {colour}, .indices = {0, 0, 0, 0}};
}

} // namespace

// ITU-R BT.601, limited range: the primary colours of a full signal.
TEST(ScreenPicture, ShowsColoursOfLimitedRange)
{
    const struct {
        const char* what;
        clut_colour sent;
        rgba_pixel shown;
    } cases[] = {
        {"black", {.y = 16, .cr = 128, .cb = 128}, {0, 0, 0, 255}},
        {"red", {.y = 81, .cr = 240, .cb = 90}, {254, 0, 0, 255}},
        {"green", {.y = 145, .cr = 34, .cb = 54}, {0, 255, 1, 255}},
        {"blue", {.y = 41, .cr = 110, .cb = 240}, {0, 0, 255, 255}},
        {"half transparent", {.y = 235, .cr = 128, .cb = 128, .t = 127}, {255, 255, 255, 128}},
        {"Y 0", {.y = 0, .cr = 128, .cb = 128, .t = 0}, {0, 0, 0, 0}},
    };
    for (const auto& [what, sent, shown] : cases)
        EXPECT_EQ(screen_colour(sent), shown) << what;
}

TEST(ScreenPicture, CoversEarlierRegionsAndCutsWhatIsBeyondTheDisplay)
{
    constexpr clut_colour opaque{.y = 235, .cr = 128, .cb = 128};
    decoded_page page;
    page.regions = {region_at(10, 10, opaque), region_at(11, 10, {}), region_at(719, 575, opaque),
        region_at(720, 0, opaque), region_at(0, 65535, opaque)};
    const screen_picture screen = compose_screen(page);
    const auto pixel = [&](std::size_t x, std::size_t y) { return screen.pixels.at(720 * y + x); };
    EXPECT_EQ(pixel(10, 11), white);
    EXPECT_EQ(pixel(11, 11), rgba_pixel{});
    EXPECT_EQ(pixel(9, 10), rgba_pixel{});
    EXPECT_EQ(pixel(719, 575), white);
    EXPECT_EQ(pixel(0, 1), rgba_pixel{});
}
