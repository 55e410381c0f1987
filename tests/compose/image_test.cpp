#include "image.h"

#include "banner.h"
#include "drawings.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

std::vector<std::uint8_t> pixels_of(const outcome& drawn)
{
    const auto* region = drawn.display_set->regions;
    if (region == nullptr)
        return {};
    const auto* bytes = region->picture->buffer;
    return {bytes, bytes + std::size_t{4} * region->width * region->height};
}

/// An icon of noise, opaque or with every kind of transparency, as large as it should be or of any size.
void write_noise(const std::string& path, std::minstd_rand& numbers)
{
    const bool opaque = numbers() % 2 == 0;
    const bool usual = numbers() % 4 != 0;
    const int width = usual ? 176 : static_cast<int>(1 + numbers() % 300);
    const int height = usual ? 137 : static_cast<int>(1 + numbers() % 300);
    const owned_surface surface(
        cairo_image_surface_create(opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width, height));
    unsigned char* const bytes = cairo_image_surface_get_data(surface.get());
    for (int at = 0; at < cairo_image_surface_get_stride(surface.get()) * height; at += 4) {
        const std::uint32_t alpha = opaque || numbers() % 4 == 0 ? 255 : numbers() % 256;
        for (int channel = 0; channel < 3; ++channel) // multiplied by alpha
            bytes[at + channel] = static_cast<unsigned char>(numbers() % (alpha + 1));
        bytes[at + 3] = static_cast<unsigned char>(alpha);
    }
    cairo_surface_mark_dirty(surface.get());
    ASSERT_EQ(cairo_surface_write_to_png(surface.get(), path.c_str()), CAIRO_STATUS_SUCCESS);
}

struct Image : testing::Test {
    temporary_folder folder{};
    const std::string directory = folder.path.string() + "/";
    image_cache cache{};

    static outcome add(region_format format, const std::string& path, bool keep_ratio, image_cache* used)
    {
        return outcome_of(
            [&](subpicture* set) { return AddImageSubtitle(&format, path.c_str(), set, keep_ratio, used); });
    }
    /// Draws with the cache, which must change neither the picture nor the messages.
    void draw(const std::string& path, bool keep_ratio = true)
    {
        const auto format = yuva_format(60, keep_ratio ? 0 : 25);
        const auto with = add(format, path, keep_ratio, &cache);
        const auto without = add(format, path, keep_ratio, nullptr);
        EXPECT_EQ(with.report, without.report);
        EXPECT_TRUE(pixels_of(with) == pixels_of(without)) << with.report;
    }
    [[nodiscard]] std::size_t kept_size_bytes() const
    {
        std::size_t sum = 0;
        for (const scaled_image& image : cache.images)
            sum += image.size_bytes;
        return sum;
    }
};

TEST_F(Image, IsStretchedToItsRegionOrKeepsItsRatio)
{
    const auto path = write_png(folder, "image.png", 20, 10, "RBr.");
    const auto added = add(yuva_format(30, 45), path, false, nullptr);
    EXPECT_EQ(added.report, "0 30x45+40+30");
    EXPECT_EQ(letters_of(added, 7, 2), "Rr");
    EXPECT_EQ(letters_of(added, 22, 2), "B.");

    const auto report = [&](std::uint32_t width, int image_width, int image_height) {
        const auto image = write_png(folder, "ratio.png", image_width, image_height, "GGGG");
        return add(yuva_format(width, 0), image, true, nullptr).report;
    };
    EXPECT_EQ(report(90, 200, 100), "0 90x45+40+30");
    EXPECT_EQ(report(100, 3, 2), "0 100x66+40+30");
    EXPECT_EQ(report(90, 1000, 1), "0: Empty region of 90x0 pixels at (40,30) left out\n");
}

TEST_F(Image, FailsWithItsMessage)
{
    auto format = yuva_format(60, 40);
    const auto set = outcome().display_set;
    EXPECT_EQ(AddImageSubtitle(nullptr, "/none", set.get(), true, nullptr), -1);
    EXPECT_EQ(AddImageSubtitle(&format, nullptr, set.get(), true, nullptr), -1);
    EXPECT_EQ(AddImageSubtitle(&format, "/none", nullptr, true, nullptr), -1);
    EXPECT_EQ(add(yuva_format(0, 40), "/none", true, nullptr).report, "-1 Invalid argument");
    EXPECT_EQ(add(yuva_format(60, 0), "/none", false, nullptr).report, "-1 Invalid argument");
    EXPECT_EQ(add(yuva_format(1, 1, 721), "/none", false, nullptr).report,
        "-1 Numerical result out of range: Error: Region out of display\n");
    EXPECT_EQ(add(format, "/none", false, nullptr).report,
        "-1 No such file or directory: Error: Cannot render image /none: file not found\n");
    const auto text = write_file(folder, "text.png", "no picture");
    EXPECT_TRUE(
        add(format, text, false, &cache).report.starts_with("-1 Invalid argument: Error: Cannot render"));
    EXPECT_TRUE(
        add(format, "/", false, &cache).report.starts_with("-1 Is a directory: Error: Cannot render"));
}

TEST_F(Image, IsTheSameFromTheCache)
{
    for (const char* quarters : {"..rR", "r.BR"}) { // the second in the place of the first
        std::filesystem::rename(write_png(folder, "new.png", 20, 10, quarters), directory + "logo.png");
        for (const bool keep_ratio : {true, false, true})
            draw(directory + "logo.png", keep_ratio);
    }
    EXPECT_EQ(std::ranges::count(cache.images, std::size_t{0}, &scaled_image::size_bytes), 64 - 2 * 2);
    const auto whole = read_file(write_png(folder, "whole.png", 20, 10, "RBr."));
    for (std::size_t kept = 0; kept < whole.size(); ++kept) {
        write_file(folder, "cut.png", whole.substr(0, kept));
        draw(directory + "cut.png");
    }
    write_file(folder, "text.png", "no picture");
    std::filesystem::create_directory(directory + "folder.png");
    std::filesystem::create_symlink("/dev/zero", directory + "endless.png");
    for (const char* name : {"none.png", "text.png", "folder.png", "logo.png/logo.png", "endless.png"})
        draw(directory + name);
}

TEST_F(Image, IsTheSameFromTheCacheOnABanner)
{
    std::minstd_rand numbers(3);
    char type[] = "led";
    char digit[] = "4";
    const auto banner = [&](const item& article, image_cache* used) {
        const auto format = yuva_format(88, 550);
        return pixels_of(outcome_of([&](subpicture* set) {
            return BuildFeaturesBanner(&format, &article, set, {.folder = directory, .cache = used});
        }));
    };
    for (int round = 0; round < 40; ++round) {
        if (round % 10 == 0) // others in their places
            for (const char* name : {"led", "size", "tunerhd", "hdmi", "usb", "3dready"})
                write_noise(directory + name + ".png", numbers);
        const auto features = static_cast<std::uint32_t>(numbers());
        const auto text = [&](std::uint32_t bit) { return (features >> bit & 1) != 0 ? digit : nullptr; };
        const item article{.type = type,
            .size = text(0),
            .hdmi = text(1),
            .usb = text(2),
            .tuner_hd = static_cast<std::uint8_t>(features >> 3 & 1),
            .threeD_ready = static_cast<std::uint8_t>(features >> 4 & 1)};
        EXPECT_TRUE(banner(article, &cache) == banner(article, nullptr)) << round;
    }
}

TEST_F(Image, IsNotKeptInALargeRegion)
{
    const auto path = write_png(folder, "logo.png", 2, 2, "RGBW");
    for (const std::uint32_t width : {257U, 256U}) { // times 256 lines of four bytes each
        EXPECT_EQ(kept_size_bytes(), 0U);
        EXPECT_TRUE(add(yuva_format(width, 256), path, false, &cache).report.starts_with("0"));
    }
    EXPECT_EQ(kept_size_bytes(), cached_region_limit_bytes);
}

TEST_F(Image, IsDroppedWhenItHasNotBeenUsedForLongest)
{
    const auto keep = [&](std::uint64_t inode, std::size_t size_bytes) {
        insert_image(cache, {.file = {.inode = inode}, .size_bytes = size_bytes});
    };
    const auto is_there = [&](std::uint64_t inode) {
        return find_image(cache, {.inode = inode}, {}) != nullptr;
    };
    constexpr std::size_t third = image_cache_limit_bytes / 3;
    for (const std::uint64_t inode : {1U, 2U, 3U})
        keep(inode, third);
    EXPECT_TRUE(is_there(1));
    keep(4, third);
    EXPECT_TRUE(is_there(1) && is_there(3) && is_there(4));
    EXPECT_FALSE(is_there(2));
    for (std::uint64_t inode = 10; inode < 10 + cache.images.size(); ++inode)
        keep(inode, 1);
    EXPECT_TRUE(is_there(10));
    EXPECT_FALSE(is_there(4));
}

} // namespace
