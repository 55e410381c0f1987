#include "text_region.h"

#include "capture.h"
#include "drawings.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <string_view>

namespace {

constexpr const char* font = "Arial";
constexpr rgba black{.alpha = 1};
constexpr rgba white{.red = 1, .green = 1, .blue = 1, .alpha = 1};
constexpr rgba red{.red = 1, .alpha = 1};
constexpr rgba green{.green = 1, .alpha = 1};

void set_text(text_style& style, std::string_view text)
{
    std::ranges::fill(style.text, '\0');
    std::ranges::copy(text, style.text.begin());
}

/// White on black.
text_style style_of(std::string_view text, double size = 40)
{
    text_style style{.background = black, .foreground = white, .font_size = size, .font = font};
    set_text(style, text);
    return style;
}

outcome add_text(region_format& format, const text_style& style, bool adjust = false)
{
    return outcome_of(
        [&](subpicture* display_set) { return AddTextSubtitle(&format, &style, display_set, adjust); });
}

TEST(RegionAttributes, AreCopied)
{
    palette colours;
    region_format format{.chroma = 1, .bits_per_pixel = 2, .palette = &colours};
    getRegionAttributes(format, {.width = 3, .height = -4, .x_pos = -20, .y_pos = 6});
    EXPECT_EQ(format.width, 3);
    EXPECT_EQ(format.height, 4'294'967'292);
    EXPECT_EQ(format.x, 4'294'967'276);
    EXPECT_EQ(format.y, 6);
    EXPECT_EQ(format.chroma, 1);
    EXPECT_EQ(format.bits_per_pixel, 2);
    EXPECT_EQ(format.palette, &colours);
}

TEST(TextAttributes, AreCopied)
{
    char family[] = "Sans";
    auto style = style_of("kept");
    const auto next = style;
    style.x = 1;
    style.next = &next;
    getTextAttributes(
        style, {.backgroundColor = 0x80FF8000, .foregroundColor = 0x330000FF, .size = -12, .font = family});
    EXPECT_EQ(style.background.red, 1.0);
    EXPECT_EQ(style.background.green, 128 / 255.0);
    EXPECT_EQ(style.background.blue, 0.0);
    EXPECT_EQ(style.background.alpha, 128 / 255.0);
    EXPECT_EQ(style.foreground.blue, 1.0);
    EXPECT_EQ(style.foreground.alpha, 0.2);
    EXPECT_EQ(style.font_size, -12.0);
    EXPECT_EQ(style.font, family);
    EXPECT_STREQ(style.text.data(), "kept");
    EXPECT_EQ(style.x, 1.0);
    EXPECT_EQ(style.next, &next);
}

TEST(TextRegion, HasItsBaselineOneFontSizeBelowTheTop)
{
    auto format = yuva_format(300, 80);
    const auto added = add_text(format, style_of("HE"));
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(added.messages, "");
    ASSERT_EQ(shape_of(region_of(added)), "300x80+40+30");
    const auto extents = extents_of(font, 40, "HE");
    const box ink = ink_of(region_of(added), opaque_black);
    EXPECT_NEAR(ink.left, extents.x_bearing, 1);
    EXPECT_NEAR(ink.right, extents.x_bearing + extents.width, 1);
    EXPECT_NEAR(ink.top, 40 + extents.y_bearing, 1);
    EXPECT_EQ(ink.bottom, 40);
}

TEST(TextRegion, HasTheColoursOfItsStyle)
{
    auto style = style_of("HHHHHHHH", 100);
    style.background = {.red = 1, .alpha = 128 / 255.0};
    style.foreground = green;
    auto format = yuva_format(200, 120);
    const auto added = add_text(format, style);
    EXPECT_EQ(pixel_of(region_of(added), 199, 119), half_red);
    const box ink = ink_of(region_of(added), half_red);
    EXPECT_EQ(ink.right, 200) << "cut at the region's edge";
    const auto stem = static_cast<std::uint32_t>(extents_of(font, 100, "H").x_bearing + 4);
    EXPECT_EQ(pixel_of(region_of(added), stem, 60), opaque_green);
}

constexpr double adjusted_sizes[] = {12, 17.3, 24.7, 40, 40.6, 99.9};

TEST(AdjustedTextRegion, IsAsLargeAsTheInk)
{
    for (const double size : adjusted_sizes) {
        auto format = yuva_format(1, 1);
        const auto added = add_text(format, style_of("jHg, ABC", size), true);
        const auto extents = extents_of(font, size, "jHg, ABC");
        EXPECT_EQ(added.result, 0) << size;
        EXPECT_EQ(format.width, std::trunc(extents.width)) << size;
        EXPECT_EQ(format.height, std::trunc(extents.height)) << size;
        ASSERT_NE(region_of(added), nullptr) << size;
        EXPECT_EQ(region_of(added)->width, format.width) << size;
        EXPECT_EQ(region_of(added)->height, format.height) << size;
        const box ink = ink_of(region_of(added), opaque_black);
        EXPECT_LE(ink.left, 1) << size;
        EXPECT_LE(ink.top, 1) << size;
        EXPECT_GE(ink.right, static_cast<int>(format.width) - 1) << size;
        EXPECT_GE(ink.bottom, static_cast<int>(format.height) - 1) << size;
    }
}

TEST(AdjustedTextRegion, EndsAtTheBorderOfTheDisplay)
{
    auto format = yuva_format(1, 1, 700, 566);
    const auto added = add_text(format, style_of("HHHHHHHH"), true);
    EXPECT_EQ(shape_of(region_of(added)), "20x10+700+566");
    EXPECT_EQ(format.width, 20);
    EXPECT_EQ(format.height, 10);
    EXPECT_EQ(ink_of(region_of(added), opaque_black).top, 0);
}

TEST(AdjustedTextRegion, MayEndExactlyAtTheBorderOfTheDisplay)
{
    const auto width = static_cast<std::uint32_t>(extents_of(font, 40, "HE").width);
    auto format = yuva_format(1, 1, 720 - width, 0);
    EXPECT_EQ(region_of(add_text(format, style_of("HE"), true))->width, width);
    format = yuva_format(1, 1, 721 - width, 0);
    EXPECT_EQ(region_of(add_text(format, style_of("HE"), true))->width, width - 1);
}

const std::string longest_text(256, 'i');

const struct {
    const char* what;
    std::string text;
    const char* family;
    double size;
    std::uint32_t x;
} without_ink[] = {
    {"no text", "", font, 40, 40},
    {"blanks", "   ", font, 40, 40},
    {"no font", "HE", nullptr, 40, 40},
    {"a font name that is no UTF-8", "HE", "\xFF", 40, 40},
    {"a text that is no UTF-8", "HE\xFF", font, 40, 40},
    {"half a character", "HE\xC3", font, 40, 40},
    {"the border of the display", "HE", font, 40, 720},
    {"a font size of zero", "HE", font, 0, 40},
    {"a negative font size", "HE", font, -40, 40},
    {"a text too wide to measure", longest_text, font, 128, 40},
    {"the greatest font size", "HE", font, std::numeric_limits<std::int32_t>::max(), 40},
    {"the smallest font size", "HE", font, std::numeric_limits<std::int32_t>::min(), 40},
    {"an endless font size", "", font, std::numeric_limits<double>::infinity(), 40},
    {"no font size", "HE", font, std::numeric_limits<double>::quiet_NaN(), 40},
};

TEST(AdjustedTextRegion, IsLeftOutWithoutInk)
{
    for (const auto& [what, text, family, size, x] : without_ink) {
        auto style = style_of(text, size);
        style.font = family;
        auto format = yuva_format(100, 50, x);
        const auto added = add_text(format, style, true);
        EXPECT_EQ(added.result, 0) << what;
        EXPECT_EQ(region_of(added), nullptr) << what;
        EXPECT_EQ(format.width, 0) << what;
        EXPECT_TRUE(added.messages.starts_with("Empty region of 0x")) << what << added.messages;
    }
}

const struct {
    const char* what;
    std::string text;
    const char* family;
    double size;
    yuva pixels;
} undrawn_texts[] = {
    {"no text", "", font, 40, opaque_black},
    {"no font", "HE", nullptr, 40, transparent},
    {"a font name that is no UTF-8", "HE", "\xFF", 40, transparent},
    {"a text that is no UTF-8", "HE\xFF", font, 40, opaque_black},
    {"a font size of zero", "HE", font, 0, opaque_black},
    {"the greatest font size", "HE", font, std::numeric_limits<std::int32_t>::max(), opaque_black},
};

TEST(TextRegion, KeepsItsSizeWithoutInk)
{
    for (const auto& [what, text, family, size, pixels] : undrawn_texts) {
        auto style = style_of(text, size);
        style.font = family;
        auto format = yuva_format(100, 50);
        const auto added = add_text(format, style);
        EXPECT_EQ(added.result, 0) << what;
        EXPECT_EQ(added.messages, "") << what;
        ASSERT_EQ(shape_of(region_of(added)), "100x50+40+30") << what;
        EXPECT_EQ(ink_of(region_of(added), pixels), box{}) << what;
    }
}

TEST(TextRegion, TakesAnyFamilyName)
{
    for (const char* family : {"", "No such family", "a:b-12,c", longest_text.c_str()}) {
        auto style = style_of("HE");
        style.font = family;
        auto format = yuva_format(100, 50);
        EXPECT_NE(ink_of(region_of(add_text(format, style)), opaque_black), box{}) << family;
    }
}

TEST(TextRegion, TakesATextOf256Bytes)
{
    auto format = yuva_format(100, 50);
    const auto added = add_text(format, style_of(longest_text, 10));
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(ink_of(region_of(added), opaque_black).right, 100);
}

TEST(TextRegion, LeavesItsFontUsableWhenTheSizeIsAbsurd)
{
    for (const double size : {70'000.0, -70'000.0, 2'147'483'647.0, -2'147'483'648.0}) {
        auto format = yuva_format(100, 50);
        add_text(format, style_of("HE", 30));
        EXPECT_EQ(ink_of(region_of(add_text(format, style_of("HE", size))), opaque_black), box{}) << size;
        const auto added = add_text(format, style_of("HE", 31 + size / 1e10)); // not drawn before
        EXPECT_NE(ink_of(region_of(added), opaque_black), box{}) << size;
    }
}

constexpr const char* too_long = "Error: Text exceeds 256 characters\n";
constexpr const char* off_display = "Error: Region out of display\n";

TEST(TextRegion, FailsWithItsMessage)
{
    const auto unterminated = style_of(std::string(257, 'i'));
    const auto fine = style_of("HE");
    for (const bool adjust : {false, true}) {
        auto outside = yuva_format(100, 50, 721);
        EXPECT_EQ(add_text(outside, fine, adjust).messages, off_display);
        EXPECT_EQ(add_text(outside, fine, adjust).result, -1);
        EXPECT_EQ(add_text(outside, unterminated, adjust).messages, too_long);
        EXPECT_EQ(outside.width, 100) << "unchanged";
        auto inside = yuva_format(100, 50);
        const auto added = add_text(inside, unterminated, adjust);
        EXPECT_EQ(added.messages, too_long);
        EXPECT_EQ(added.result, -1);
        EXPECT_EQ(region_of(added), nullptr);
    }
    auto negative = yuva_format(static_cast<std::uint32_t>(-5), 50);
    const auto added = add_text(negative, fine);
    EXPECT_EQ(added.result, -1);
    EXPECT_TRUE(added.messages.starts_with("Error: Cannot draw region of 4294967291x50 pixels: "));
}

TEST(TextRegion, FailsSilentlyWithoutAnArgument)
{
    const auto display_set = new_display_set();
    auto format = yuva_format(100, 50);
    const auto style = style_of("HE");
    EXPECT_EQ(stderr_of([&] {
        EXPECT_EQ(AddTextSubtitle(nullptr, &style, display_set.get(), true), -1);
        EXPECT_EQ(AddTextSubtitle(&format, nullptr, display_set.get(), true), -1);
        EXPECT_EQ(AddTextSubtitle(&format, &style, nullptr, true), -1);
        EXPECT_EQ(AddMultiTextSubtitle(nullptr, 1, &style, display_set.get()), -1);
        EXPECT_EQ(AddMultiTextSubtitle(&format, 1, nullptr, display_set.get()), -1);
        EXPECT_EQ(AddMultiTextSubtitle(&format, 1, &style, nullptr), -1);
    }),
        "");
    EXPECT_EQ(display_set->regions, nullptr);
}

/// Three texts on black: a red and a green "H" on one spot and a white one on the right.
struct three_texts {
    text_style white_right = style_of("H", 60);
    text_style green_left = style_of("H", 60);
    text_style red_left = style_of("H", 60);

    three_texts()
    {
        white_right.x = 150;
        white_right.y = green_left.y = red_left.y = 70;
        green_left.foreground = green;
        green_left.background = white;
        red_left.foreground = red;
        green_left.next = &white_right;
        red_left.next = &green_left;
    }
    three_texts(const three_texts&) = delete;
    three_texts& operator=(const three_texts&) = delete;
};

/// A column within the left stem of an "H" at the left edge.
std::uint32_t stem_column()
{
    return static_cast<std::uint32_t>(extents_of(font, 60, "H").x_bearing + 3);
}

outcome add_texts(const three_texts& texts, std::uint32_t count, std::uint32_t x = 40)
{
    const auto format = yuva_format(300, 100, x);
    return outcome_of([&](subpicture* display_set) {
        return AddMultiTextSubtitle(&format, count, &texts.red_left, display_set);
    });
}

TEST(MultiTextRegion, DrawsAsManyTextsAsToldOneOverTheOther)
{
    const yuva expected[][2] = {
        {opaque_black, opaque_black},
        {opaque_red, opaque_black},
        {opaque_green, opaque_black},
        {opaque_green, opaque_white},
        {opaque_green, opaque_white},
    };
    for (std::uint32_t count = 0; count < std::size(expected); ++count) {
        const auto added = add_texts({}, count);
        EXPECT_EQ(added.result, 0) << count;
        ASSERT_EQ(shape_of(region_of(added)), "300x100+40+30") << count;
        EXPECT_EQ(pixel_of(region_of(added), stem_column(), 50), expected[count][0]) << count;
        EXPECT_EQ(pixel_of(region_of(added), 150 + stem_column(), 50), expected[count][1]) << count;
        EXPECT_EQ(pixel_of(region_of(added), 299, 99), opaque_black) << count;
    }
}

TEST(MultiTextRegion, LeavesOutATextTooLong)
{
    three_texts texts;
    set_text(texts.green_left, std::string(257, 'H'));
    const auto added = add_texts(texts, 3);
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(added.messages, too_long);
    EXPECT_EQ(pixel_of(region_of(added), stem_column(), 50), opaque_red);
    EXPECT_EQ(pixel_of(region_of(added), 150 + stem_column(), 50), opaque_white);
}

TEST(MultiTextRegion, EndsAtATextWithoutFont)
{
    three_texts texts;
    texts.green_left.font = nullptr;
    const auto added = add_texts(texts, 3);
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(pixel_of(region_of(added), stem_column(), 50), opaque_red);
    EXPECT_EQ(pixel_of(region_of(added), 150 + stem_column(), 50), opaque_black);
}

TEST(MultiTextRegion, FailsOffTheDisplay)
{
    const auto added = add_texts({}, 3, 721);
    EXPECT_EQ(added.result, -1);
    EXPECT_EQ(added.messages, off_display);
    EXPECT_EQ(region_of(added), nullptr);
}

} // namespace
