#include "pages.h"
#include "palette.h"
#include "pixel_lines.h"
#include "pixel_strings.h"
#include "plain_conversion.h"
#include "plain_pixel_lines.h"

#include <algorithm>
#include <cstdlib>
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

template <std::size_t n> std::int32_t one_of(numbers& random, const std::int32_t (&values)[n])
{
    return values[below(random, n)];
}

/// One component of a region: a ramp with noise from flat to full, in steps or without.
void paint_plane(const plane& target, numbers& random)
{
    const std::int32_t base = below(random, 256);
    const std::int32_t per_column = one_of(random, {0, 0, 0, 1, -3, 17, 255});
    const std::int32_t per_line = one_of(random, {0, 0, 0, 1, -2, 40});
    const std::int32_t noise = one_of(random, {1, 1, 2, 9, 60, 256});
    const std::int32_t quantum = one_of(random, {1, 1, 1, 50, 128});
    for (std::int32_t pixel = 0; pixel < target.lines * target.pitch; ++pixel) {
        const std::int32_t value = base + per_column * (pixel % target.pitch)
            + per_line * (pixel / target.pitch) + below(random, noise) - noise / 2;
        target.pixels[pixel] = static_cast<std::uint8_t>(std::clamp(value / quantum * quantum, 0, 255));
    }
}

/// Gives the pixels that are visited first sixteen colours that no tolerance merges, all of them on one
/// side of Y. Pixels at its other end are wrong by 135 and more and pass all of that on.
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

/// Both fields of a region, in a buffer of that size, by the plain form or not.
std::vector<std::uint8_t> fields_of(const subpicture_region& region, bool plainly, std::size_t size_bytes)
{
    std::vector<std::uint8_t> buffer(size_bytes); // on the heap: the sanitizer guards its end
    bit_writer out;
    bs_init(out, buffer.data(), buffer.size());
    for (const std::uint8_t top : {std::uint8_t{1}, std::uint8_t{0}})
        (plainly ? plain::write_pixel_data : encode_pixel_data)(out, region, top);
    buffer.resize(static_cast<std::size_t>(bs_pos(out)) / 8);
    return buffer;
}

bool has_equal_fields(const subpicture_region& region, std::size_t size_bytes = 64'000)
{
    return fields_of(region, false, size_bytes) == fields_of(region, true, size_bytes);
}

/// Converts and codes the region of a page.
bool is_equal(subpicture& page)
{
    const auto& region = *page.regions;
    const plain::colour_reduction expected = plain::reduce_colours(region);
    if (YuvaYuvp(&page) == nullptr)
        return false;
    std::array<palette_entry, palette_capacity> colours{};
    std::ranges::copy(expected.palette, colours.begin());
    return region.palette->entry_count == 16 && region.palette->entries == colours
        && indices_of(region) == expected.indices && has_equal_fields(region);
}

/// A display set with a small region.
page_owner small_page(numbers& random)
{
    page_owner page = new_page();
    const auto width = static_cast<std::uint32_t>(one_of(random, {1, 2, 7, 8, 9, 16, 17, 31}));
    const auto height = static_cast<std::uint32_t>(one_of(random, {1, 1, 2, 3, 5, 8}));
    subpicture_region& region = add_region(*page, width, height);
    for (const plane& part : region.picture->planes)
        paint_plane(part, random);
    if (below(random, 8) == 0)
        lead_astray(region, below(random, 2) == 0);
    return page;
}

/// A display set whose errors grow up to 320 times 135.
page_owner page_led_astray(bool from_above)
{
    numbers random(3);
    const auto some_byte = [&] { return static_cast<std::uint8_t>(below(random, 256)); };
    const auto y = static_cast<std::uint8_t>(from_above ? 0 : 255);
    page_owner page = new_page();
    auto& region = add_region(*page, 200, 120);
    for (std::size_t pixel = 0; pixel < std::size_t{200} * 120; ++pixel)
        set_pixel(region, pixel, {y, some_byte(), some_byte(), some_byte()});
    lead_astray(region, from_above);
    return page;
}

/// A region of random runs, with indices below the limit.
subpicture_region& add_runs(subpicture& page, std::int32_t entry_count, std::int32_t limit, numbers& random)
{
    const auto width = static_cast<std::uint32_t>(one_of(random, {1, 5, 8, 9, 88, 700}));
    std::vector<std::uint8_t> indices;
    while (indices.size() < std::size_t{3} * width) {
        const std::int32_t length = one_of(random, {1, 1, 1, 2, 3, 4, 8, 9, 26, 128, 300});
        indices.insert(indices.end(), static_cast<std::size_t>(length),
            static_cast<std::uint8_t>(below(random, one_of(random, {2, limit}))));
    }
    indices.resize(std::size_t{3} * width);
    return add_indexed_region(page, width, entry_count, indices);
}

} // namespace

/// A ramp of 32 greys in steps of 8: 15 of them stand for all from a tolerance of 8 on. In the second line 75
/// is shown as 64, and 5/8 of these 11 are carried on: no error is larger.
TEST(PlainForm, HasTheIndicesOfAWorkedExample)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 8, 4);
    for (std::size_t i = 0; i < 32; ++i)
        set_pixel(region, i, {static_cast<std::uint8_t>(8 * i), 128, 128, 255});
    const plain::colour_reduction result = plain::reduce_colours(region);
    EXPECT_EQ(result.colours_before, 32U);
    EXPECT_EQ(result.tolerance, 8);
    EXPECT_TRUE(result.tolerance_sufficed);
    EXPECT_EQ(result.palette[1], (palette_entry{200, 128, 128, 255}));
    EXPECT_THAT(result.indices,
        testing::ElementsAre(0, 0, 9, 4, 4, 4, 13, 8, 8, 8, 3, 3, 3, 12, 7, 7, //
            7, 2, 2, 2, 11, 6, 6, 6, 1, 1, 1, 10, 5, 5, 5, 14));
    EXPECT_EQ(result.largest_error, 6);
}

/// Runs of every length of a code, in colour 0 and another, of each depth, as a receiver reads them.
TEST(PlainForm, HasRunsThatAReceiverReadsBack)
{
    for (const std::int32_t entry_count : {4, 16, 256}) {
        for (std::uint32_t length = 1; length <= 600; ++length) {
            const page_owner page = new_page();
            std::vector<std::uint8_t> indices(length, 0);
            indices.insert(indices.end(), length, static_cast<std::uint8_t>(entry_count - 1));
            const auto& region = add_indexed_region(*page, 2 * length, entry_count, indices);
            const pixel_data found = read_pixel_data(fields_of(region, true, 4096));
            ASSERT_EQ(found.problem, "") << length;
            ASSERT_THAT(found.rows, testing::ElementsAre(indices)) << length;
            ASSERT_TRUE(has_equal_fields(region)) << length;
        }
    }
}

TEST(Equality, OfManySmallRegions)
{
    numbers random(20);
    const char* const wanted = std::getenv("EQUALITY_REGIONS");
    const int regions = wanted == nullptr ? 20'000 : std::atoi(wanted);
    for (int i = 0; i < regions; ++i)
        ASSERT_TRUE(is_equal(*small_page(random))) << i;
}

TEST(Equality, WhereErrorsOutgrowSixteenBits)
{
    EXPECT_TRUE(is_equal(*page_led_astray(false)));
    EXPECT_TRUE(is_equal(*page_led_astray(true)));
}

/// Of each depth, with indices beyond the palette too, into buffers that end anywhere.
TEST(Equality, OfRunsThatAreCut)
{
    numbers random(4);
    for (int i = 0; i < 900; ++i) {
        const page_owner page = new_page();
        const std::int32_t entry_count = one_of(random, {4, 16, 256});
        const auto& region = add_runs(*page, entry_count, i % 4 == 0 ? 256 : entry_count, random);
        ASSERT_TRUE(has_equal_fields(region)) << i;
        ASSERT_TRUE(has_equal_fields(region, static_cast<std::size_t>(below(random, 400)))) << i;
    }
}
