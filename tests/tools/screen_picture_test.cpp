#include "screen_picture.h"

#include <gtest/gtest.h>

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
