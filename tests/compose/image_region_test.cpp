#include "image_region.h"

#include "capture.h"
#include "drawings.h"

#include <gtest/gtest.h>

namespace {

outcome add_image(region_format& format, const std::string& path, bool keep_ratio = false)
{
    return outcome_of([&](subpicture* display_set) {
        return AddImageSubtitle(&format, path.c_str(), display_set, keep_ratio);
    });
}

void draw_quarters(cairo_t* context)
{
    cairo_set_source_rgba(context, 1, 0, 0, 1);
    cairo_rectangle(context, 0, 0, 10, 5);
    cairo_fill(context);
    cairo_set_source_rgba(context, 0, 0, 1, 1);
    cairo_rectangle(context, 10, 0, 10, 5);
    cairo_fill(context);
    cairo_set_source_rgba(context, 1, 0, 0, 128 / 255.0);
    cairo_rectangle(context, 0, 5, 10, 5);
    cairo_fill(context);
}

TEST(ImageRegion, IsStretchedToItsSize)
{
    const temporary_folder folder;
    const auto path = write_png(folder, "quarters.png", 20, 10, draw_quarters);
    auto format = yuva_format(60, 40);
    const auto added = add_image(format, path);
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(added.messages, "");
    ASSERT_EQ(shape_of(region_of(added)), "60x40+40+30");
    EXPECT_EQ(pixel_of(region_of(added), 15, 10), opaque_red);
    EXPECT_EQ(pixel_of(region_of(added), 45, 10), opaque_blue);
    EXPECT_EQ(pixel_of(region_of(added), 15, 30), half_red);
    EXPECT_EQ(pixel_of(region_of(added), 45, 30), transparent);
}

constexpr struct {
    int image_width;
    int image_height;
    std::uint32_t width;
    std::uint32_t height;
} kept_ratios[] = {
    {200, 100, 90, 45},
    {100, 200, 90, 180},
    {3, 2, 100, 66},
    {7, 7, 7, 7},
    {200, 7, 90, 3},
};

TEST(ImageRegion, KeepsTheRatioOfTheImage)
{
    const temporary_folder folder;
    for (const auto& [image_width, image_height, width, height] : kept_ratios) {
        const auto path = write_png(folder, "image.png", image_width, image_height, 0xFF00FF00);
        auto format = yuva_format(width, 0);
        const auto added = add_image(format, path, true);
        EXPECT_EQ(added.result, 0) << height;
        EXPECT_EQ(format.height, height);
        ASSERT_NE(region_of(added), nullptr) << height;
        EXPECT_EQ(region_of(added)->height, height);
        EXPECT_EQ(pixel_of(region_of(added), width / 2, height / 2), opaque_green) << height;
    }
}

TEST(ImageRegion, IsLeftOutWhenTheRatioLeavesNoHeight)
{
    const temporary_folder folder;
    auto format = yuva_format(90, 45);
    const auto added = add_image(format, write_png(folder, "wide.png", 32'767, 1, 0xFFFFFFFF), true);
    EXPECT_EQ(added.result, 0);
    EXPECT_EQ(added.messages, "Empty region of 90x0 pixels at (40,30) left out\n");
    EXPECT_EQ(region_of(added), nullptr);
    EXPECT_EQ(format.height, 0);
}

constexpr struct {
    const char* what;
    cairo_format_t pixel_format;
    yuva pixel; ///< of opaque red
} file_formats[] = {
    {"with opacity", CAIRO_FORMAT_ARGB32, opaque_red},
    {"without opacity", CAIRO_FORMAT_RGB24, opaque_red},
    {"16 bits per component", CAIRO_FORMAT_RGB30, opaque_red},
    {"grey", CAIRO_FORMAT_A8, opaque_white},
    {"one bit per pixel", CAIRO_FORMAT_A1, opaque_white},
};

TEST(ImageRegion, TakesEveryKindOfPng)
{
    const temporary_folder folder;
    for (const auto& [what, pixel_format, pixel] : file_formats) {
        const auto draw = [](cairo_t* context) {
            cairo_set_source_rgba(context, 1, 0, 0, 1);
            cairo_paint(context);
        };
        auto format = yuva_format(20, 10);
        const auto added = add_image(format, write_png(folder, "image.png", 20, 10, draw, pixel_format));
        EXPECT_EQ(added.result, 0) << what;
        EXPECT_EQ(pixel_of(region_of(added), 10, 5), pixel) << what;
    }
}

TEST(ImageRegion, CannotBeMadeOfABrokenFile)
{
    const temporary_folder folder;
    const auto content = read_file(write_png(folder, "whole.png", 20, 10, draw_quarters));
    for (std::size_t kept = 0; kept < content.size(); ++kept) {
        const auto path = write_file(folder, "broken.png", content.substr(0, kept));
        auto format = yuva_format(60, 40);
        const auto added = add_image(format, path, true);
        EXPECT_EQ(added.result, -1) << kept;
        EXPECT_TRUE(added.messages.starts_with("Error: Cannot render image " + path + ": ")) << kept;
        EXPECT_EQ(region_of(added), nullptr) << kept;
        EXPECT_EQ(format.height, 40) << kept;
    }
    for (std::size_t changed = 0; changed < content.size(); ++changed) {
        auto spoilt = content;
        spoilt[changed] = static_cast<char>(~spoilt[changed]);
        auto format = yuva_format(60, 40);
        const auto added = add_image(format, write_file(folder, "spoilt.png", spoilt), true);
        EXPECT_EQ(added.result == 0, region_of(added) != nullptr) << changed;
    }
}

TEST(ImageRegion, FailsWithItsMessage)
{
    const temporary_folder folder;
    const auto path = write_png(folder, "image.png", 20, 10, 0xFF00FF00);
    const auto missing = (folder.path / "missing.png").string();
    const struct {
        const char* what;
        std::string file;
        region_format format;
        std::string messages;
    } failures[] = {
        {"no file", missing, yuva_format(60, 40),
            "Error: Cannot render image " + missing + ": file not found\n"},
        {"a directory", folder.path.string(), yuva_format(60, 40),
            "Error: Cannot render image " + folder.path.string() + ": "
                + cairo_status_to_string(CAIRO_STATUS_READ_ERROR) + "\n"},
        {"off the display", missing, yuva_format(60, 40, 721), "Error: Region out of display\n"},
        {"too large for cairo", path, yuva_format(40'000, static_cast<std::uint32_t>(-3)),
            "Error: Cannot scale image " + path
                + " (20,10) to (40000,-3) : " + cairo_status_to_string(CAIRO_STATUS_INVALID_SIZE) + "\n"},
        {"no width", path, yuva_format(0, 40), ""},
        {"no height", path, yuva_format(60, 0), ""},
    };
    for (const auto& [what, file, wanted, messages] : failures) {
        auto format = wanted;
        const auto added = add_image(format, file);
        EXPECT_EQ(added.result, -1) << what;
        EXPECT_EQ(added.messages, messages) << what;
        EXPECT_EQ(region_of(added), nullptr) << what;
    }
}

TEST(ImageRegion, FailsSilentlyWithoutAnArgument)
{
    const auto display_set = new_display_set();
    auto format = yuva_format(60, 40);
    auto no_width = yuva_format(0, 40);
    EXPECT_EQ(stderr_of([&] {
        EXPECT_EQ(AddImageSubtitle(nullptr, "/missing.png", display_set.get(), true), -1);
        EXPECT_EQ(AddImageSubtitle(&format, nullptr, display_set.get(), true), -1);
        EXPECT_EQ(AddImageSubtitle(&format, "/missing.png", nullptr, true), -1);
        EXPECT_EQ(AddImageSubtitle(&no_width, "/missing.png", display_set.get(), true), -1);
    }),
        "");
}

} // namespace
