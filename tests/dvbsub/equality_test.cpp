#include "pages.h"
#include "palette.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <numeric>
#include <random>

// What is converted and encoded fast has to have the very bytes of the plain form. Millions of regions:
// EQUALITY_REGIONS=5000000 dvbsub_test --gtest_filter='Equality.*'

namespace {

using numbers = std::minstd_rand;

std::int32_t below(numbers& random, std::int32_t limit)
{
    return static_cast<std::int32_t>(random() / 64 % static_cast<std::uint32_t>(limit));
}

std::uint8_t some_byte(numbers& random)
{
    return static_cast<std::uint8_t>(below(random, 256));
}

template <std::size_t n> std::int32_t one_of(numbers& random, const std::int32_t (&values)[n])
{
    return values[below(random, n)];
}

/// How one component runs over a region.
struct ramp {
    std::int32_t base = 0;
    std::int32_t per_column = 0;
    std::int32_t per_line = 0;
    std::int32_t noise = 1;
    std::int32_t quantum = 1;
};

ramp new_ramp(numbers& random)
{
    return {.base = below(random, 256),
        .per_column = one_of(random, {0, 0, 0, 1, -3, 17, 255}),
        .per_line = one_of(random, {0, 0, 0, 1, -2, 40}),
        .noise = one_of(random, {1, 1, 2, 9, 60, 256}),
        .quantum = one_of(random, {1, 1, 1, 50, 128})};
}

std::uint8_t value_at(const ramp& shape, std::int32_t column, std::int32_t line, numbers& random)
{
    const std::int32_t value = shape.base + shape.per_column * column + shape.per_line * line
        + below(random, shape.noise) - shape.noise / 2;
    return static_cast<std::uint8_t>(std::clamp(value / shape.quantum * shape.quantum, 0, 255));
}

/// Ramps with noise from flat to full, in steps or without, and pixels that repeat.
void paint(subpicture_region& region, numbers& random)
{
    std::array<ramp, plane_total> shapes;
    std::generate(shapes.begin(), shapes.end(), [&] { return new_ramp(random); });
    const std::int32_t repeated = one_of(random, {0, 0, 50, 90});
    palette_entry colour{};
    for (std::uint32_t pixel = 0; pixel < region.width * region.height; ++pixel) {
        const auto column = static_cast<std::int32_t>(pixel % region.width);
        const auto line = static_cast<std::int32_t>(pixel / region.width);
        if (pixel == 0 || below(random, 100) >= repeated)
            std::transform(shapes.begin(), shapes.end(), colour.begin(),
                [&](const ramp& shape) { return value_at(shape, column, line, random); });
        set_pixel(region, pixel, colour);
    }
}

/// Gives the pixels that are visited first sixteen colours that no tolerance merges, all of them on one
/// side of Y. Pixels at its other end are wrong by 135 and more and hand all of that on.
void lead_astray(subpicture_region& region, bool from_above)
{
    const std::size_t pixels = std::size_t{region.width} * region.height;
    std::size_t step = std::max(3 * region.height / 4 * region.width + region.width / 3, 1U);
    while (std::gcd(pixels, step) != 1)
        --step;
    for (std::size_t j = 0; j < std::min<std::size_t>(16, pixels); ++j) {
        const int y = j % 3 == 0 ? 120 : 0;
        set_pixel(region, j * step % pixels,
            {static_cast<std::uint8_t>(from_above ? 255 - y : y), static_cast<std::uint8_t>(j % 2 * 255),
                static_cast<std::uint8_t>(j / 2 % 2 * 255), static_cast<std::uint8_t>(j / 4 * 64)});
    }
}

page_owner copy_of(const subpicture& page)
{
    page_owner copy = new_page();
    for (const auto* region = page.regions; region != nullptr; region = region->next) {
        auto& made = add_region(*copy, region->width, region->height);
        std::memcpy(
            made.picture->buffer, region->picture->buffer, plane_total * region->width * region->height);
    }
    return copy;
}

bool same_pixels_and_palette(const subpicture_region& one, const subpicture_region& other)
{
    const std::size_t size_bytes = plane_total * one.width * one.height;
    return std::memcmp(one.picture->buffer, other.picture->buffer, size_bytes) == 0
        && one.chroma == other.chroma && one.palette->clut_id == other.palette->clut_id
        && one.palette->entry_count == other.palette->entry_count
        && one.palette->entries == other.palette->entries;
}

bool encode_alike(subpicture& page)
{
    encoder fast;
    encoder slow;
    const block_owner data(Encode(&fast, &page));
    const block_owner expected(plain::Encode(&slow, &page));
    std::free(fast.region_sizes);
    return std::ranges::equal(bytes_of(*data), bytes_of(*expected));
}

bool convert_alike(subpicture& page)
{
    const page_owner expected = copy_of(page);
    if (YuvaYuvp(&page) == nullptr || plain::YuvaYuvp(expected.get()) == nullptr)
        return false;
    const auto* other = expected->regions;
    for (const auto* region = page.regions; region != nullptr; region = region->next, other = other->next) {
        if (!same_pixels_and_palette(*region, *other))
            return false;
    }
    return encode_alike(page);
}

int region_count()
{
    const char* const wanted = std::getenv("EQUALITY_REGIONS");
    return wanted == nullptr ? 20'000 : std::atoi(wanted);
}

} // namespace

TEST(Equality, OfDrawnPictures)
{
    for (const auto& [name, draw] : bench_pictures())
        EXPECT_TRUE(convert_alike(*draw())) << name;
}

TEST(Equality, OfManySmallRegions)
{
    numbers random(20);
    const int regions = region_count();
    for (int i = 0; i < regions; ++i) {
        const page_owner page = new_page();
        const std::int32_t width = one_of(random, {1, 2, 7, 8, 9, 16, 17, 31});
        const std::int32_t height = one_of(random, {1, 1, 2, 3, 5, 8});
        auto& region =
            add_region(*page, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
        paint(region, random);
        if (below(random, 8) == 0)
            lead_astray(region, below(random, 2) == 0);
        ASSERT_TRUE(convert_alike(*page)) << "region " << i << ": " << width << " x " << height;
    }
}

TEST(Equality, WhereErrorsOutgrowSixteenBits)
{
    numbers random(3);
    for (const bool from_above : {false, true}) { // up to 320 times 135
        const page_owner page = new_page();
        auto& region = add_region(*page, 200, 120);
        for (std::size_t pixel = 0; pixel < std::size_t{200} * 120; ++pixel)
            set_pixel(region, pixel,
                {static_cast<std::uint8_t>(from_above ? 0 : 255), some_byte(random), some_byte(random),
                    some_byte(random)});
        lead_astray(region, from_above);
        EXPECT_TRUE(convert_alike(*page)) << (from_above ? "to negative values" : "to large values");
    }
}

TEST(Equality, OfCodesInEveryDepth)
{
    numbers random(4);
    for (int i = 0; i < 300; ++i) {
        const page_owner page = new_page();
        for (const std::int32_t entry_count : {4, 16, 256}) {
            const std::int32_t width = one_of(random, {1, 5, 8, 9, 88, 700});
            std::vector<std::uint8_t> indices;
            while (indices.size() < 3 * static_cast<std::size_t>(width)) {
                const std::int32_t length = one_of(random, {1, 1, 1, 2, 3, 4, 8, 9, 26, 128, 300});
                indices.insert(indices.end(), static_cast<std::size_t>(length),
                    static_cast<std::uint8_t>(below(random, one_of(random, {2, entry_count, 256}))));
            }
            indices.resize(3 * static_cast<std::size_t>(width));
            add_indexed_region(*page, static_cast<std::uint32_t>(width), entry_count, indices);
        }
        ASSERT_TRUE(encode_alike(*page)) << i;
        if (i % 60 == 0) { // more than a block holds, cut anywhere
            std::vector<std::uint8_t> noise(640 * 320);
            std::generate(
                noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(below(random, 16)); });
            add_indexed_region(*page, 640, 16, noise);
            add_indexed_region(*page, 640, 16, noise);
            ASSERT_TRUE(encode_alike(*page)) << i << " cut";
        }
    }
}
