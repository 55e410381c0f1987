#include "image_cache.h"

#include "drawings.h"
#include "image_region.h"

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

struct ImageCache : testing::Test {
    temporary_folder folder{};
    const std::string directory = folder.path.string() + "/";
    image_cache cache{};

    /// Draws with the cache, which must change neither the picture nor the messages.
    void draw_image(const std::string& path, bool keep_ratio = true)
    {
        const auto drawn = [&](image_cache* used) {
            auto format = yuva_format(60, keep_ratio ? 0 : 25);
            return outcome_of([&](subpicture* set) {
                return add_cached_image(&format, path.c_str(), set, keep_ratio, used);
            });
        };
        const auto with = drawn(&cache);
        const auto without = drawn(nullptr);
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

TEST_F(ImageCache, ChangesNoPictureAndNoMessage)
{
    for (const char* quarters : {"..rR", "r.BR"}) { // the second in the place of the first
        const auto path = write_png(folder, "logo.png", 20, 10, quarters);
        for (const bool keep_ratio : {true, false, true})
            draw_image(path, keep_ratio);
    }
    write_file(folder, "text.png", "no picture");
    write_file(folder, "empty.png", "");
    std::filesystem::create_directory(directory + "folder.png");
    for (const char* name : {"none.png", "text.png", "empty.png", "folder.png", "logo.png/logo.png"})
        draw_image(directory + name);
}

TEST_F(ImageCache, ReadsAnImageAgainButKeepsItOnce)
{
    const auto path = write_png(folder, "logo.png", 30, 20, "RGBW");
    draw_image(path);
    std::filesystem::copy(path, directory + "copy.png");
    draw_image(directory + "copy.png");
    EXPECT_EQ(kept_size_bytes(), 4 * 60 * 40);
    draw_image(path, false);
    EXPECT_EQ(kept_size_bytes(), 4 * 60 * (40 + 25)) << "at another place";
}

TEST_F(ImageCache, DropsWhatHasNotBeenUsedForLongest)
{
    const auto keep = [&](std::uint64_t key, std::size_t size_bytes) {
        return keep_image(cache, {.key = {{key, 0}}, .size_bytes = size_bytes}) != nullptr;
    };
    const auto is_there = [&](std::uint64_t key) { return find_image(cache, {{key, 0}}) != nullptr; };
    constexpr std::size_t third = image_cache_limit_bytes / 3;
    EXPECT_TRUE(keep(1, third) && keep(2, third) && keep(3, third));
    EXPECT_TRUE(is_there(1));
    EXPECT_TRUE(keep(4, third));
    EXPECT_TRUE(is_there(1) && is_there(3) && is_there(4));
    EXPECT_FALSE(is_there(2));
    EXPECT_FALSE(keep(5, image_cache_limit_bytes + 1));
    for (std::uint64_t key = 10; key < 10 + cache.images.size(); ++key)
        EXPECT_TRUE(keep(key, 1));
    EXPECT_TRUE(is_there(10));
    EXPECT_FALSE(is_there(4));
}

} // namespace
