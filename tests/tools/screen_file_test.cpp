#include "screen_file.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(ScreenFile, TakesAColourWithOrWithoutItsSign)
{
    for (const char* text : {"#1020fA", "1020FA"})
        EXPECT_THAT(make_background(text).pixels, testing::Each(rgba_pixel{0x10, 0x20, 0xFA, 255})) << text;
    for (const char* text : {"", "#1020F", "1020FA0", "1020FG"}) // no such file either
        EXPECT_THAT(make_background(text).error, HasSubstr("cannot use the background")) << text;
}

TEST(ScreenFile, LaysOverByOpacity)
{
    const background ground{.pixels = {3, {200, 100, 0, 255}}};
    const screen_picture screen{
        .width = 3, .height = 1, .pixels = {{0, 0, 0, 0}, {9, 8, 7, 255}, {100, 0, 1, 128}}};
    const auto pixels = lay_over(ground, screen);
    EXPECT_EQ(pixels[0], (rgba_pixel{200, 100, 0, 255}));
    EXPECT_EQ(pixels[1], (rgba_pixel{9, 8, 7, 255}));
    EXPECT_EQ(pixels[2], (rgba_pixel{150, 50, 1, 255})); // 149.8, 49.8 and 0.5
    EXPECT_THAT(write_screen(pixels, "/no/such/folder/screen.png"), HasSubstr("cannot write /no/such/"));
}
