#include "image_cache.h"

#include "banner.h"
#include "drawings.h"
#include "image_region.h"

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

TEST_F(ImageCache, ChangesNoBanner)
{
    std::minstd_rand numbers(3);
    char type[] = "led";
    char digit[] = "4";
    const auto banner = [&](const item& article, image_cache* used) {
        const auto format = yuva_format(88, 550);
        return pixels_of(outcome_of([&](subpicture* set) {
            return build_banner_with_icons(
                &format, &article, set, {.icon_directory = directory, .cache = used});
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

TEST_F(ImageCache, LeavesOutLargeRegions)
{
    const auto path = write_png(folder, "logo.png", 2, 2, "RGBW");
    for (const std::uint32_t width : {257U, 256U}) { // times 256 lines of four bytes each
        EXPECT_EQ(kept_size_bytes(), 0U);
        auto format = yuva_format(width, 256);
        const auto set = outcome().display_set;
        EXPECT_EQ(add_cached_image(&format, path.c_str(), set.get(), false, &cache), 0);
    }
    EXPECT_EQ(kept_size_bytes(), cached_region_limit_bytes);
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
