#include "pages.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"
#include "subtitle_decoder.h"

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

/// With pixels that repeat.
void paint(const picture& target, numbers& random)
{
    for (const plane& part : target.planes)
        paint_plane(part, random);
    const std::int32_t repeated = one_of(random, {0, 0, 50, 90});
    for (std::int32_t pixel = 1; pixel < target.planes[0].lines * target.planes[0].pitch; ++pixel) {
        const bool repeat = below(random, 100) < repeated;
        for (const plane& part : target.planes)
            part.pixels[pixel] = part.pixels[pixel - (repeat ? 1 : 0)];
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

/// Encodes the page, and the same drawn again in the plain form. Null when there is a difference.
block_owner encode_alike(subpicture& page, subpicture& other)
{
    encoder state;
    const bool convert = other.regions->chroma == chroma_yuva;
    if (convert && plain::YuvaYuvp(&other) == nullptr)
        return nullptr;
    const block_owner expected(plain::Encode(&state, &other));
    block_owner data(Encode(encoder_owner(OpenEncoder()).get(), &page));
    const auto* wanted = other.regions;
    bool alike = std::ranges::equal(bytes_of(*data), bytes_of(*expected));
    for (const auto* region = page.regions; region != nullptr; region = region->next, wanted = wanted->next)
        alike = alike && indices_of(*region) == indices_of(*wanted)
            && region->palette->entries == wanted->palette->entries;
    return alike ? std::move(data) : nullptr;
}

/// A display set with a small region.
page_owner small_page(numbers& random)
{
    page_owner page = new_page();
    const auto width = static_cast<std::uint32_t>(one_of(random, {1, 2, 7, 8, 9, 16, 17, 31}));
    const auto height = static_cast<std::uint32_t>(one_of(random, {1, 1, 2, 3, 5, 8}));
    subpicture_region& region = add_region(*page, width, height);
    paint(*region.picture, random);
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

/// Appends a region of so many random colours, some transparent and some without light, and of runs with
/// indices below the limit.
void paint_indices(subpicture& page, std::int32_t entry_count, std::int32_t limit, numbers& random)
{
    const auto width = static_cast<std::uint32_t>(one_of(random, {1, 5, 8, 9, 88, 700}));
    std::vector<std::uint8_t> indices;
    while (indices.size() < std::size_t{3} * width) {
        const std::int32_t length = one_of(random, {1, 1, 1, 2, 3, 4, 8, 9, 26, 128, 300});
        indices.insert(indices.end(), static_cast<std::size_t>(length),
            static_cast<std::uint8_t>(below(random, one_of(random, {2, limit}))));
    }
    indices.resize(std::size_t{3} * width);
    palette& colours = *add_indexed_region(page, width, entry_count, indices).palette;
    colours.clut_id = static_cast<std::uint8_t>(entry_count - 1);
    for (std::int32_t j = 0; j < entry_count; ++j)
        for (std::uint8_t& part : colours.entries[static_cast<std::size_t>(j)])
            part = static_cast<std::uint8_t>(one_of(random, {0, below(random, 256), below(random, 256)}));
}

void expect_found(const decoded_region& found, const subpicture_region& sent)
{
    const palette& colours = *sent.palette;
    std::size_t fill = colours.entries.size();
    for (std::size_t j = found.colours.size(); j-- > 0;) {
        const auto [y, u, v, a] = colours.entries[j];
        const int shown_y = a == 0 ? 0 : std::max<int>(y, y == 0 ? 16 : 0);
        const auto& [found_y, cr, cb, t, defined] = found.colours[j];
        EXPECT_THAT((std::array<int, 4>{found_y, cr, cb, t}), testing::ElementsAre(shown_y, v, u, 255 - a));
        fill = a == 0 ? j : fill;
    }
    EXPECT_EQ(found.colours.size(), static_cast<std::size_t>(colours.entry_count));
    EXPECT_EQ(found.filled, fill < colours.entries.size());
    EXPECT_TRUE(!found.filled || found.fill_index == fill);
    EXPECT_EQ(found.indices, indices_of(sent));
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
        EXPECT_NE(encode_alike(*draw(), *draw()), nullptr) << name;
}

TEST(Equality, OfManySmallRegions)
{
    numbers random(20);
    const int regions = region_count();
    for (int i = 0; i < regions; ++i) {
        numbers again = random;
        const page_owner page = small_page(random);
        ASSERT_NE(encode_alike(*page, *small_page(again)), nullptr) << i;
    }
}

TEST(Equality, WhereErrorsOutgrowSixteenBits)
{
    EXPECT_NE(encode_alike(*page_led_astray(false), *page_led_astray(false)), nullptr);
    EXPECT_NE(encode_alike(*page_led_astray(true), *page_led_astray(true)), nullptr);
}

TEST(Equality, OfDisplaySetsThatAReceiverReadsBack)
{
    numbers random(4);
    for (int i = 0; i < 300; ++i) {
        const page_owner page = new_page();
        const bool readable = i % 4 != 0; // like every converted region with both fields
        for (const std::int32_t entry_count : {4, 16, 256})
            paint_indices(*page, entry_count, readable ? entry_count : 256, random);
        page->regions->picture->top_field_only = readable ? 0 : 1;
        const block_owner data = encode_alike(*page, *page);
        ASSERT_NE(data, nullptr) << i;
        if (!readable)
            continue;
        const decoded_page found = decode_display_set(bytes_of(*data));
        EXPECT_THAT(found.problems, testing::IsEmpty()) << i;
        const auto* sent = page->regions;
        for (std::size_t j = 0; sent != nullptr; sent = sent->next, ++j)
            expect_found(found.regions.at(j), *sent);
    }
}

TEST(Equality, OfDisplaySetsThatAreCut)
{
    numbers random(5);
    for (int i = 0; i < 5; ++i) {
        const page_owner page = new_page();
        paint_indices(*page, 16, 16, random); // so that the end is anywhere
        std::vector<std::uint8_t> noise(std::size_t{640} * 320);
        std::generate(
            noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(below(random, 16)); });
        add_indexed_region(*page, 640, 16, noise);
        EXPECT_NE(encode_alike(*page, *page), nullptr) << i;
    }
}
