#include "text_region.h"

#include "drawings.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

/// White on black.
text_style style_of(std::string_view text, double size = 40, const char* font = "Arial")
{
    text_style style{{.alpha = 1}, {1, 1, 1, 1}, size, font};
    std::ranges::copy(text, style.text.begin());
    return style;
}

outcome add_text(const text_style& style, bool adjust = false, region_format format = yuva_format(100, 50))
{
    return outcome_of([&](subpicture* set) { return AddTextSubtitle(&format, &style, set, adjust); });
}

TEST(TextRegion, HasItsBaselineOneFontSizeBelowTheTop)
{
    auto style = style_of("HHHHHHHH", 100);
    style.background = {.red = 1, .alpha = 128 / 255.0};
    style.foreground = {.green = 1, .alpha = 1};
    const auto added = add_text(style, false, yuva_format(200, 120));
    EXPECT_EQ(letters_of(added, 13, 4), "rGGr");
    const auto [left, top, right, bottom] = ink_of(added, 'r');
    EXPECT_EQ(bottom, 100);
    EXPECT_EQ(right, 200) << "cut at the edge";
}

TEST(TextRegion, ShrinksToTheInkOfTheText)
{
    for (const double size : {12.0, 17.3, 40.6, 99.9}) {
        const auto added = add_text(style_of("jHg, ABC", size), true);
        const auto& region = *added.display_set->regions;
        const auto [left, top, right, bottom] = ink_of(added, 'K');
        EXPECT_LE(std::max({left, top, region.width - right, region.height - bottom}), 1) << size;
    }
    EXPECT_EQ(add_text(style_of("HHHH"), true, yuva_format(1, 1, 700, 566)).report, "0 20x10+700+566");
}

TEST(TextRegion, IsLeftOutWithoutInkOnlyWhenItShrinks)
{
    const std::pair<text_style, char> invisible_texts[] = {{style_of(""), 'K'}, {style_of("HE\xFF"), 'K'},
        {style_of("HE", 0), 'K'}, {style_of("HE", 2'147'483'647), 'K'}, {style_of("HE", 40, nullptr), '.'}};
    for (const auto& [style, pixels] : invisible_texts) {
        EXPECT_EQ(add_text(style, true).report, "0: Empty region of 0x0 pixels at (40,30) left out\n");
        EXPECT_THAT(ink_of(add_text(style), pixels), ElementsAre(100, 50, 0, 0)) << style.text.data();
    }
}

TEST(TextRegion, LeavesItsFontUsableWhenTheSizeIsAbsurd)
{
    for (const double size : {70'000.0, -70'000.0}) {
        add_text(style_of("HE", 30));
        add_text(style_of("HE", size));
        EXPECT_EQ(ink_of(add_text(style_of("HE", 31 + size / 1e6)), 'K')[3], 31) << size;
    }
}

const auto too_long = style_of(std::string(257, 'i'));

TEST(TextRegion, FailsWithItsMessage)
{
    auto format = yuva_format(100, 50);
    const auto text = style_of(std::string(256, 'i'));
    const auto set = outcome().display_set;
    EXPECT_EQ(AddTextSubtitle(nullptr, &text, set.get(), true), -1);
    EXPECT_EQ(AddTextSubtitle(&format, nullptr, set.get(), true), -1);
    EXPECT_EQ(AddTextSubtitle(&format, &text, nullptr, true), -1);
    EXPECT_EQ(AddMultiTextSubtitle(nullptr, 1, &text, set.get()), -1);
    EXPECT_EQ(AddMultiTextSubtitle(&format, 1, nullptr, set.get()), -1);
    EXPECT_EQ(AddMultiTextSubtitle(&format, 1, &text, nullptr), -1);
    EXPECT_EQ(add_text(too_long).report, "-1 Argument list too long: Error: Text exceeds 256 characters\n");
    EXPECT_EQ(add_text(text, false, yuva_format(9, 9, 720, 576)).report, "0 9x9+720+576");
    EXPECT_EQ(add_text(text, false, yuva_format(9, 9, 0, -1U)).report,
        "-1 Numerical result out of range: Error: Region out of display\n");
}

/// Draws a red text and a white one at the right of it. Returns the letters of both.
std::string add_two(std::uint32_t count, text_style first = style_of("H", 100))
{
    auto second = style_of("H", 100);
    second.x = 100;
    second.y = first.y = 90;
    first.foreground = {.red = 1, .alpha = 1};
    first.next = &second;
    const auto format = yuva_format(200, 100);
    const auto added =
        outcome_of([&](subpicture* set) { return AddMultiTextSubtitle(&format, count, &first, set); });
    return letters_of(added, 13, 1) + letters_of(added, 113, 1) + " " + added.report;
}

TEST(MultiTextRegion, DrawsAsManyTextsAsTold)
{
    EXPECT_EQ(add_two(0), "KK 0 200x100+40+30");
    EXPECT_EQ(add_two(1), "RK 0 200x100+40+30");
    EXPECT_EQ(add_two(3), "RW 0 200x100+40+30");
    EXPECT_EQ(add_two(3, too_long), "KW 0 200x100+40+30: Error: Text exceeds 256 characters\n");
}

const std::string euro = "\xE2\x82\xAC";

const struct {
    const char* what;
    std::string text;
    std::size_t length;
} texts[] = {
    {"longer", std::string(300, 'a'), 256},
    {"cut behind the first byte of a character", std::string(255, 'a') + euro, 255},
    {"a character ends at the cut", std::string(253, 'a') + euro + "b", 256},
    {"four bytes, cut before the last", std::string(253, 'a') + "\xF0\x9F\x93\xBA", 253},
    {"characters without end", std::string(300, '\x82'), 256},
};

TEST(TextRegion, CutsATextAtACharacterWithin256Bytes)
{
    for (const auto& [what, text, length] : texts) {
        text_style style{};
        style.text.fill('x');
        set_text(style, text);
        EXPECT_EQ(std::string(style.text.data()), text.substr(0, length)) << what;
    }
}

} // namespace
