#include "banner.h"

#include "drawings.h"

#include <gtest/gtest.h>

namespace {

// An article owns its texts, so it wants them to be writable.
char led[] = "led";
char ready[] = "hdready";
char seven[] = "7";

/// Draws with icons of its own, each in one colour.
struct Banner : testing::Test {
    temporary_folder folder{};
    const std::string directory = folder.path.string() + "/";

    void SetUp() override
    {
        for (const auto& [name, quarters] : {std::pair{"led", "RRRR"}, {"size", "GGGG"}, {"hdready", "BBBB"},
                 {"tunerhd", "WWWW"}, {"hdmi", "YYYY"}, {"usb", "CCCC"}, {"3dready", "MMMM"}})
            write_png(folder, name + std::string(".png"), 176, 137, quarters);
    }

    [[nodiscard]] outcome build(
        const item& article, const region_format& format = yuva_format(88, 550, 603, 14)) const
    {
        return outcome_of([&](subpicture* set) {
            return BuildFeaturesBanner(&format, &article, set, {.folder = directory});
        });
    }
};

TEST_F(Banner, ShowsTheFeaturesFromTheTopDown)
{
    const auto slots = [&](const item& article) { return letters_of(build(article), 10, 8); };
    EXPECT_EQ(slots({}), "KKKKKKKK");
    EXPECT_EQ(slots({.type = led, .size = seven, .hd = ready, .tuner_hd = 1}), "RGBWKKKK");
    EXPECT_EQ(slots({.hdmi = seven, .usb = seven, .tuner_hd = 1, .threeD_ready = 1}), "WYCMKKKK");
    EXPECT_EQ(slots({.size = seven, .hdmi = seven}), "GYKKKKKK");
}

TEST_F(Banner, ClosesTheGapOfAnIconWhosePathExceeds255Characters)
{
    std::string longest(255 - directory.size() - 4, 'x');
    std::string longer = longest + "x";
    write_png(folder, longest + ".png", 176, 137, "RRRR");
    const auto built = build({.type = longer.data(), .hd = longest.data(), .tuner_hd = 1});
    EXPECT_EQ(letters_of(built, 10, 8), "RWKKKKKK");
    EXPECT_EQ(built.report,
        "0 88x550+603+14: Error: Cannot find image " + directory + longer + ".png: file not found\n");
}

/// A text of so many capitals, digits and blanks, in icons three times as high as their files. Widths vary
/// with the font that is there.
const struct {
    item article;
    std::uint32_t slot, left, right, baseline;
} labels[] = {
    {{.size = seven}, 0, 58, 80, 82},
    {{.hdmi = seven}, 0, 70, 128, 91},
    {{.type = led, .usb = seven}, 1, 70, 128, 137 + 109},
};

TEST_F(Banner, LabelsItsIcons)
{
    for (const char* name : {"size.png", "hdmi.png", "usb.png"})
        write_png(folder, name, 176, 137, "WWWW");
    for (const auto& [article, slot, left, right, baseline] : labels) {
        const auto built = build(article, yuva_format(176, 3 * 8 * 137));
        const auto ink = ink_of(built, 'W', 411 * slot + 3, 411 * slot + 408);
        EXPECT_NEAR(ink[0], left, 4);
        EXPECT_NEAR(ink[1], 3 * (baseline - 29), 4);
        EXPECT_NEAR(ink[2], right, 8);
        EXPECT_EQ(ink[3], 3 * baseline);
    }
}

/// On an icon one pixel wide its scaled font is enormous. The icon behind it is told to be at fault.
TEST_F(Banner, TellsWhichLabelTheFontLibraryRefused)
{
    const auto path = write_png(folder, "hdmi.png", 1, 500, "GGGG");
    const std::string refusal = "Error: Cannot write X 7 on image " + path + " of 1x500 pixels: ";
    EXPECT_TRUE(build({.hdmi = seven}).report.starts_with("0 88x550+603+14: " + refusal));
    const auto followed = build({.hdmi = seven, .threeD_ready = 1}).report;
    EXPECT_TRUE(followed.starts_with("-1 Invalid argument: " + refusal)) << followed;
    EXPECT_NE(followed.find("Error: Cannot scale image " + directory + "3dready.png"), std::string::npos);
}

TEST_F(Banner, FailsWithItsMessage)
{
    const auto format = yuva_format(88, 550);
    const item article{.type = led};
    const auto set = outcome().display_set;
    EXPECT_EQ(BuildFeaturesBanner(nullptr, &article, set.get(), {}), -1);
    EXPECT_EQ(BuildFeaturesBanner(&format, nullptr, set.get(), {}), -1);
    EXPECT_EQ(BuildFeaturesBanner(&format, &article, nullptr, {}), -1);
    EXPECT_EQ(build(article, yuva_format(0, 550)).report, "-1 Invalid argument");
    EXPECT_EQ(build(article, yuva_format(88, 550, 0, 577)).report,
        "-1 Numerical result out of range: Error: Region out of display\n");
    EXPECT_EQ(build(article, yuva_format(88, 0)).report,
        "-1 Invalid argument: Error: Cannot scale image " + directory
            + "led.png (176,137) to (88,0) : " + cairo_status_to_string(CAIRO_STATUS_INVALID_MATRIX) + "\n");
}

} // namespace
