#include "screen_picture.h"

#include <gmock/gmock.h>

namespace {

constexpr clut_colour white{.y = 235, .cr = 128, .cb = 128, .t = 0, .defined = true};
constexpr clut_colour nothing{.y = 0, .cr = 128, .cb = 128, .t = 255, .defined = true};

decoded_region region_at(std::uint32_t x, std::uint32_t y, std::uint8_t index)
{
    decoded_region region{.x = x, .y = y, .width = 2, .height = 2};
    region.colours = {white, nothing};
    region.indices.assign(4, index);
    return region;
}

rgba_pixel pixel(const screen_picture& screen, std::uint32_t x, std::uint32_t y)
{
    return screen.pixels[std::size_t{y} * screen.width + x];
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
        {"white", white, {255, 255, 255, 255}},
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

TEST(ScreenPicture, LetsALaterRegionCoverAnEarlierOne)
{
    decoded_page page;
    page.regions = {region_at(10, 10, 0), region_at(11, 10, 1)};
    const screen_picture screen = compose_screen(page);
    EXPECT_EQ(screen.pixels.size(), 720U * 576U);
    EXPECT_EQ(pixel(screen, 10, 11), (rgba_pixel{255, 255, 255, 255}));
    EXPECT_EQ(pixel(screen, 11, 11), rgba_pixel{});
    EXPECT_EQ(pixel(screen, 9, 10), rgba_pixel{});
}

TEST(ScreenPicture, CutsWhatIsBeyondTheDisplay)
{
    decoded_page page;
    page.regions = {region_at(719, 575, 0), region_at(720, 0, 0), region_at(0, 65535, 0)};
    const screen_picture screen = compose_screen(page);
    EXPECT_EQ(pixel(screen, 719, 575), (rgba_pixel{255, 255, 255, 255}));
    EXPECT_EQ(pixel(screen, 0, 1), rgba_pixel{});
}
