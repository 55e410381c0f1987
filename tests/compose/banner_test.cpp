#include "banner.h"

#include "capture.h"
#include "drawings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace {

/// What an article has; an empty text stands for none.
struct features {
    std::string type = {};
    std::string size = {};
    std::string hd = {};
    std::string hdmi = {};
    std::string usb = {};
    bool tuner_hd = false;
    bool threeD_ready = false;
};

char* field_of(std::string& text)
{
    return text.empty() ? nullptr : text.data();
}

outcome build(const region_format& format, features shown, const temporary_folder& icons)
{
    item article;
    article.type = field_of(shown.type);
    article.size = field_of(shown.size);
    article.hd = field_of(shown.hd);
    article.tuner_hd = shown.tuner_hd ? 1 : 0;
    article.hdmi = field_of(shown.hdmi);
    article.usb = field_of(shown.usb);
    article.threeD_ready = shown.threeD_ready ? 1 : 0;
    return outcome_of([&](subpicture* display_set) {
        return build_banner_with_icons(&format, &article, display_set, icons.path.string() + "/");
    });
}

/// The banner's box on the display.
const region_format usual_box = yuva_format(88, 550, 603, 14);

/// The colour in the middle of a slot of the usual box, away from any label.
yuva slot_colour(const outcome& built, std::uint32_t slot)
{
    return pixel_of(region_of(built), 10, (2 * slot + 1) * 550 / 16);
}

constexpr struct {
    const char* file;
    std::uint32_t colour;
    yuva pixel;
} icon_files[] = {
    {"led.png", 0xFFFF0000, opaque_red},
    {"size.png", 0xFF00FF00, opaque_green},
    {"hdready.png", 0xFF0000FF, opaque_blue},
    {"tunerhd.png", 0xFFFFFFFF, opaque_white},
    {"hdmi.png", 0xFFFFFF00, {210, 16, 146, 255}},
    {"usb.png", 0xFF00FFFF, {169, 166, 16, 255}},
    {"3dready.png", 0xFFFF00FF, {107, 202, 222, 255}},
};

/// One icon per feature, each in its colour.
void write_icons(const temporary_folder& folder)
{
    for (const auto& icon : icon_files)
        write_png(folder, icon.file, 176, 137, icon.colour);
}

const features every_feature{"led", "102", "hdready", "3", "1", true, true};

TEST(Banner, ShowsEveryFeatureFromTheTopDown)
{
    const temporary_folder icons;
    write_icons(icons);
    const auto built = build(usual_box, every_feature, icons);
    EXPECT_EQ(built.result, 0);
    EXPECT_EQ(built.messages, "");
    ASSERT_EQ(shape_of(region_of(built)), "88x550+603+14");
    for (std::uint32_t slot = 0; slot < std::size(icon_files); ++slot)
        EXPECT_EQ(slot_colour(built, slot), icon_files[slot].pixel) << icon_files[slot].file;
    EXPECT_EQ(slot_colour(built, 7), opaque_black);
}

TEST(Banner, ShowsEachFeatureByItsOwnIcon)
{
    const features single_features[] = {{.type = "led"}, {.size = "102"}, {.hd = "hdready"},
        {.tuner_hd = true}, {.hdmi = "3"}, {.usb = "1"}, {.threeD_ready = true}};
    const temporary_folder icons;
    write_icons(icons);
    for (std::size_t n = 0; n < std::size(single_features); ++n) {
        const auto built = build(usual_box, single_features[n], icons);
        ASSERT_NE(region_of(built), nullptr);
        EXPECT_EQ(slot_colour(built, 0), icon_files[n].pixel) << icon_files[n].file;
        EXPECT_EQ(slot_colour(built, 1), opaque_black) << icon_files[n].file;
    }
}

TEST(Banner, OfNoFeatureIsABlackBox)
{
    const temporary_folder icons;
    const auto built = build(usual_box, {}, icons);
    EXPECT_EQ(built.result, 0);
    ASSERT_EQ(shape_of(region_of(built)), "88x550+603+14");
    EXPECT_EQ(ink_of(region_of(built), opaque_black), box{});
}

TEST(Banner, DividesItsHeightIntoEightSlots)
{
    const temporary_folder icons;
    write_icons(icons);
    const auto built = build(usual_box, {.type = "led", .tuner_hd = true}, icons);
    EXPECT_EQ(pixel_of(region_of(built), 44, 67), opaque_red);
    EXPECT_EQ(pixel_of(region_of(built), 44, 70), opaque_white);
    EXPECT_EQ(pixel_of(region_of(built), 44, 136), opaque_white);
    EXPECT_EQ(pixel_of(region_of(built), 44, 138), opaque_black);
    EXPECT_EQ(pixel_of(region_of(built), 86, 30), opaque_red) << "the whole width";
}

TEST(Banner, CountsTheRowsOfTheIconFilesDrawn)
{
    const temporary_folder icons;
    write_png(icons, "led.png", 100, 100, 0xFFFF0000);
    write_png(icons, "tunerhd.png", 50, 200, 0xFFFFFFFF);
    // The second begins 100 of its 200 rows down: in the middle of the first slot of 100 lines.
    const auto built = build(yuva_format(80, 800), {.type = "led", .tuner_hd = true}, icons);
    EXPECT_EQ(pixel_of(region_of(built), 40, 47), opaque_red);
    EXPECT_EQ(pixel_of(region_of(built), 40, 53), opaque_white);
    EXPECT_EQ(pixel_of(region_of(built), 40, 147), opaque_white);
    EXPECT_EQ(pixel_of(region_of(built), 40, 153), opaque_black);
}

TEST(Banner, ClosesTheGapOfAMissingIcon)
{
    const temporary_folder icons;
    write_icons(icons);
    std::filesystem::remove(icons.path / "size.png");
    std::filesystem::remove(icons.path / "hdmi.png");
    std::filesystem::create_directory(icons.path / "hdmi.png");
    const auto built = build(usual_box, every_feature, icons);
    EXPECT_EQ(built.result, 0);
    EXPECT_EQ(built.messages,
        "Error: Cannot find image " + icons.path.string() + "/size.png: file not found\n"
            + "Error: Cannot find image " + icons.path.string()
            + "/hdmi.png: error while reading from input stream\n");
    EXPECT_EQ(slot_colour(built, 1), opaque_blue);
    EXPECT_EQ(slot_colour(built, 3), icon_files[5].pixel);
    EXPECT_EQ(slot_colour(built, 4), icon_files[6].pixel);
    EXPECT_EQ(slot_colour(built, 5), opaque_black);
}

TEST(Banner, TakesIconPathsOfUpTo255Characters)
{
    const temporary_folder icons;
    const std::string longest(255 - icons.path.string().size() - 5, 'x');
    write_png(icons, longest + ".png", 176, 137, 0xFFFF0000);
    write_png(icons, longest + "x.png", 176, 137, 0xFFFF0000);
    const auto built = build(usual_box, {.type = longest + "x", .hd = longest}, icons);
    EXPECT_EQ(built.result, 0);
    EXPECT_EQ(built.messages,
        "Error: Cannot find image " + icons.path.string() + "/" + longest + "x.png: file not found\n");
    EXPECT_EQ(slot_colour(built, 0), opaque_red);
    EXPECT_EQ(slot_colour(built, 1), opaque_black);
}

TEST(Banner, HasItsIconsAmongTheResources)
{
    const auto display_set = new_display_set();
    std::string type = "no such icon";
    const item article{.type = type.data()};
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(BuildFeaturesBanner(&usual_box, &article, display_set.get()), 0); }),
        "Error: Cannot find image /usr/playout/.medias/resources/no such icon.png: file not found\n");
    EXPECT_EQ(region_count(*display_set), 1);
}

/// A box in which icons of 176 x 137 pixels keep their size.
const region_format natural_box = yuva_format(176, 8 * 137, 0, 0);

/// The ink of a label at that origin, of one or two pieces, as cairo itself measures it.
box label_box(double x, double y, const std::vector<const char*>& pieces)
{
    box ink{.left = 1000, .top = 2000};
    for (const char* piece : pieces) {
        const auto extents = extents_of("Arial", 40, piece);
        ink.left = std::min(ink.left, static_cast<int>(x + extents.x_bearing));
        ink.top = std::min(ink.top, static_cast<int>(y + extents.y_bearing));
        ink.right = static_cast<int>(x + extents.x_bearing + extents.width);
        ink.bottom = std::max(ink.bottom, static_cast<int>(y + extents.y_bearing + extents.height));
        x += extents.x_advance;
    }
    return ink;
}

TEST(Banner, LabelsItsIcons)
{
    const struct {
        const char* what;
        features shown;
        std::uint32_t lines; ///< of the icons drawn, all white
        box label;
    } labels[] = {
        {"size", {.size = "37"}, 137, label_box(58, 82, {"37"})},
        {"HDMI", {.hdmi = "3"}, 137, label_box(70, 91, {"X ", "3"})},
        {"USB", {.usb = "12"}, 137, label_box(70, 109, {"X ", "12"})},
        {"HDMI in the second slot", {.type = "led", .hdmi = "3"}, 274, label_box(70, 137 + 91, {"X ", "3"})},
    };
    const temporary_folder icons;
    for (const auto* file : {"led.png", "size.png", "hdmi.png", "usb.png"})
        write_png(icons, file, 176, 137, 0xFFFFFFFF);
    for (const auto& [what, shown, lines, label] : labels) {
        const auto built = build(natural_box, shown, icons);
        const box ink = ink_of(region_of(built), opaque_white, lines);
        EXPECT_NEAR(ink.left, label.left, 1) << what;
        EXPECT_NEAR(ink.top, label.top, 1) << what;
        EXPECT_NEAR(ink.right, label.right, 1) << what;
        EXPECT_NEAR(ink.bottom, label.bottom, 1) << what;
    }
}

TEST(Banner, ScalesItsLabelsWithTheIcons)
{
    const temporary_folder icons;
    write_png(icons, "hdmi.png", 176, 137, 0xFFFFFFFF);
    const auto built = build(usual_box, {.hdmi = "3"}, icons);
    // The outermost columns of a scaled icon are mixed with the black below.
    EXPECT_EQ(pixel_of(region_of(built), 30, 55), opaque_white);
    const auto letter = extents_of("Arial", 40, "X");
    std::uint32_t dark = 0;
    for (std::uint32_t line = 5; line < 60; ++line) {
        bool darkened = false;
        for (std::uint32_t column = 30; column < 50; ++column)
            darkened |= pixel_of(region_of(built), column, line).y < 200;
        dark += darkened ? 1 : 0;
    }
    EXPECT_NEAR(dark, letter.height / 2, 2);
}

TEST(Banner, FailsWithItsMessage)
{
    const temporary_folder icons;
    const auto led = write_png(icons, "led.png", 20, 10, 0xFFFFFFFF);
    const std::string scaling = "Error: Cannot scale image " + led + " (20,10) to ";
    const struct {
        const char* what;
        region_format format;
        std::string messages;
    } failures[] = {
        {"off the display", yuva_format(88, 550, 0, 577), "Error: Region out of display\n"},
        {"no width", yuva_format(0, 550), ""},
        {"no height", yuva_format(88, 0),
            scaling + "(88,0) : " + cairo_status_to_string(CAIRO_STATUS_INVALID_MATRIX) + "\n"},
        {"too large for cairo", yuva_format(40'000, 550),
            scaling + "(40000,550) : " + cairo_status_to_string(CAIRO_STATUS_INVALID_SIZE) + "\n"},
    };
    for (const auto& [what, format, messages] : failures) {
        const auto built = build(format, {.type = "led"}, icons);
        EXPECT_EQ(built.result, -1) << what;
        EXPECT_EQ(built.messages, messages) << what;
        EXPECT_EQ(region_of(built), nullptr) << what;
    }
}

TEST(Banner, FailsSilentlyWithoutAnArgument)
{
    const auto display_set = new_display_set();
    const item article;
    EXPECT_EQ(stderr_of([&] {
        EXPECT_EQ(BuildFeaturesBanner(nullptr, &article, display_set.get()), -1);
        EXPECT_EQ(BuildFeaturesBanner(&usual_box, nullptr, display_set.get()), -1);
        EXPECT_EQ(BuildFeaturesBanner(&usual_box, &article, nullptr), -1);
    }),
        "");
    EXPECT_EQ(display_set->regions, nullptr);
}

} // namespace
