#include "image.h"

#include "drawings.h"

#include <filesystem>
#include <gtest/gtest.h>
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
    // Each in the place of the one before; of the last, which is wholly transparent, no row is kept.
    for (const char* quarters : {"..rR", "r.BR", "...."}) {
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
