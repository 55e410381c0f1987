#include "image_cache.h"

#include "banner.h"
#include "drawings.h"
#include "image_region.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

namespace {

/// An image of noise, with every kind of transparency or opaque, as the number has it.
void write_noise(const std::string& path, std::minstd_rand& numbers, std::pair<int, int> size)
{
    const bool opaque = numbers() % 2 == 0;
    const owned_surface surface(cairo_image_surface_create(
        opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, size.first, size.second));
    unsigned char* const bytes = cairo_image_surface_get_data(surface.get());
    for (int at = 0; at < cairo_image_surface_get_stride(surface.get()) * size.second; at += 4) {
        const std::uint32_t alpha = opaque || numbers() % 4 == 0 ? 255 : numbers() % 256;
        for (int channel = 0; channel < 3; ++channel) // multiplied by alpha
            bytes[at + channel] = static_cast<unsigned char>(numbers() % (alpha + 1));
        bytes[at + 3] = static_cast<unsigned char>(alpha);
    }
    cairo_surface_mark_dirty(surface.get());
    ASSERT_EQ(cairo_surface_write_to_png(surface.get(), path.c_str()), CAIRO_STATUS_SUCCESS);
}

using pixels = std::vector<std::uint8_t>;

pixels pixels_of(const outcome& drawn)
{
    const subpicture_region* const region = drawn.display_set->regions;
    if (region == nullptr)
        return {};
    return {
        region->picture->buffer, region->picture->buffer + std::size_t{4} * region->width * region->height};
}

void expect_equal(const outcome& with_cache, const outcome& without, const std::string& what)
{
    EXPECT_EQ(with_cache.report, without.report) << what;
    EXPECT_TRUE(pixels_of(with_cache) == pixels_of(without)) << what;
}

char letters[] = "abcdefgh";
char digit[] = "4";

/// Features by the bits of a number; the type names one of eight icons.
item article_of(std::uint32_t number)
{
    static char name[2] = "";
    name[0] = letters[number % 8];
    const auto text = [number](std::uint32_t bit) { return (number >> bit & 1) != 0 ? digit : nullptr; };
    return {.type = name,
        .size = text(3),
        .hdmi = text(4),
        .usb = text(5),
        .hd = text(6),
        .tuner_hd = static_cast<std::uint8_t>(number >> 7 & 1),
        .threeD_ready = static_cast<std::uint8_t>(number >> 8 & 1)};
}

struct ImageCache : testing::Test {
    temporary_folder folder{};
    const std::string directory = folder.path.string() + "/";
    image_cache cache{};
    std::minstd_rand numbers{3};

    [[nodiscard]] outcome banner(const item& article, image_cache* used) const
    {
        const auto format = yuva_format(88, 550);
        const image_source icons{.icon_directory = directory, .cache = used};
        return outcome_of(
            [&](subpicture* set) { return build_banner_with_icons(&format, &article, set, icons); });
    }

    [[nodiscard]] static outcome image(const std::string& path, image_cache* used, bool keep_ratio = true)
    {
        auto format = yuva_format(60, keep_ratio ? 0 : 25);
        return outcome_of(
            [&](subpicture* set) { return add_cached_image(&format, path.c_str(), set, keep_ratio, used); });
    }

    /// The icons as they should be made, and now and then one of any size.
    std::pair<int, int> icon_size()
    {
        if (numbers() % 4 != 0)
            return {176, 137};
        return {static_cast<int>(1 + numbers() % 300), static_cast<int>(1 + numbers() % 300)};
    }
};

TEST_F(ImageCache, ChangesNoBanner)
{
    for (int set = 0; set < 4; ++set) {
        for (const char* name :
            {"a", "b", "c", "d", "e", "f", "g", "size", "4", "tunerhd", "hdmi", "usb", "3dready"})
            write_noise(directory + name + ".png", numbers, icon_size());
        for (int round = 0; round < 12; ++round) {
            const auto number = static_cast<std::uint32_t>(numbers());
            const item article = article_of(number);
            expect_equal(banner(article, &cache), banner(article, nullptr), std::to_string(number));
            expect_equal(
                banner(article, &cache), banner(article, nullptr), "again " + std::to_string(number));
        }
    }
}

TEST_F(ImageCache, ChangesNoImageAndNoMessage)
{
    const std::string path = directory + "logo.png";
    for (int round = 0; round < 30; ++round) {
        write_noise(path, numbers, icon_size()); // in the place of the one before
        for (const bool keep_ratio : {true, false, true})
            expect_equal(
                image(path, &cache, keep_ratio), image(path, nullptr, keep_ratio), std::to_string(round));
    }
    write_file(folder, "text.png", "no picture");
    write_file(folder, "empty.png", "");
    std::filesystem::create_directory(directory + "folder.png");
    for (const char* name : {"none.png", "text.png", "empty.png", "folder.png", "logo.png/logo.png"})
        expect_equal(image(directory + name, &cache), image(directory + name, nullptr), name);
}

TEST_F(ImageCache, ReadsAnImageAgainButKeepsItOnce)
{
    const std::string path = directory + "logo.png";
    const auto kept = [&] {
        return std::ranges::count_if(
            cache.images, [](const scaled_image& one) { return one.size_bytes != 0; });
    };
    write_noise(path, numbers, {30, 20});
    EXPECT_EQ(image(path, &cache).report[0], '0');
    std::filesystem::copy(path, directory + "copy.png");
    EXPECT_EQ(image(directory + "copy.png", &cache).report[0], '0');
    EXPECT_EQ(kept(), 1);
    EXPECT_EQ(image(path, &cache, false).report[0], '0');
    EXPECT_EQ(kept(), 2) << "at another place";
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
