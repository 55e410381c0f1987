#include "image_region.h"

#include "drawings.h"

#include <gtest/gtest.h>

namespace {

outcome add_image(region_format format, const std::string& path, bool keep_ratio = false)
{
    return outcome_of(
        [&](subpicture* set) { return AddImageSubtitle(&format, path.c_str(), set, keep_ratio); });
}

TEST(ImageRegion, IsStretchedToItsSize)
{
    const temporary_folder folder;
    const auto added = add_image(yuva_format(30, 45), write_png(folder, "image.png", 20, 10, "RBr."));
    EXPECT_EQ(added.report, "0 30x45+40+30");
    EXPECT_EQ(letters_of(added, 7, 2), "Rr");
    EXPECT_EQ(letters_of(added, 22, 2), "B.");
}

TEST(ImageRegion, KeepsTheRatioOfTheImage)
{
    const temporary_folder folder;
    const auto report = [&](std::uint32_t width, int image_width, int image_height) {
        const auto path = write_png(folder, "image.png", image_width, image_height, "GGGG");
        return add_image(yuva_format(width, 0), path, true).report;
    };
    EXPECT_EQ(report(90, 200, 100), "0 90x45+40+30");
    EXPECT_EQ(report(100, 3, 2), "0 100x66+40+30");
    EXPECT_EQ(report(90, 1000, 1), "0: Empty region of 90x0 pixels at (40,30) left out\n");
}

TEST(ImageRegion, CannotBeMadeOfAFileCutOff)
{
    const temporary_folder folder;
    const auto content = read_file(write_png(folder, "whole.png", 20, 10, "RBr."));
    for (std::size_t kept = 0; kept < content.size(); ++kept) {
        const auto path = write_file(folder, "cut.png", content.substr(0, kept));
        const auto report = add_image(yuva_format(60, 40), path).report;
        EXPECT_TRUE(report.starts_with("-1: Error: Cannot render image " + path + ": ")) << kept << report;
    }
}

TEST(ImageRegion, FailsWithItsMessage)
{
    auto format = yuva_format(60, 40);
    const auto set = outcome().display_set;
    EXPECT_EQ(AddImageSubtitle(nullptr, "/none", set.get(), true), -1);
    EXPECT_EQ(AddImageSubtitle(&format, nullptr, set.get(), true), -1);
    EXPECT_EQ(AddImageSubtitle(&format, "/none", nullptr, true), -1);
    EXPECT_EQ(add_image(yuva_format(0, 40), "/none", true).report, "-1");
    EXPECT_EQ(add_image(yuva_format(60, 0), "/none").report, "-1");
    EXPECT_EQ(add_image(yuva_format(1, 1, 721), "/none").report, "-1: Error: Region out of display\n");
    EXPECT_EQ(add_image(format, "/none").report, "-1: Error: Cannot render image /none: file not found\n");
}

} // namespace
