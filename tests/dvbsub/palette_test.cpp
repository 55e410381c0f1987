#include "palette.h"

#include "allocation_fakes.h"
#include "pages.h"

#include <gmock/gmock.h>

using testing::Each;

// A worked example; of everything else the plain form is the judge: see Equality.

namespace {

/// Sixteen colours, the components at one end or the other by the bits of j: no tolerance merges two, and
/// the nearest to a colour is the nearest in each component.
palette_entry corner(std::size_t j)
{
    const auto end = [j](std::size_t bit, int high) {
        return static_cast<std::uint8_t>(j >> bit & 1 ? high : 0);
    };
    return {end(0, 254), end(1, 254), end(2, 254), end(3, 255)};
}

} // namespace

TEST(Palette, HandsTheErrorToTheRightAndBelow)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 24, 2, corner(0));
    for (std::size_t j = 0; j < 16; ++j)
        set_pixel(region, j * 31 % 48, corner(j)); // the first to be visited: the palette
    // Y: an error of 127 goes on as 79 above the top, as 49 to the third pixel, which it lifts.
    set_pixel(region, 15, {127, 0, 0, 0});
    set_pixel(region, 16, {254, 0, 253, 0});
    set_pixel(region, 17, {100, 0, 0, 0});
    set_pixel(region, 18, {254, 0, 0, 0});
    // U to the right and V below: an error of -1 hands on nothing, which leaves 128 nearer to 254.
    set_pixel(region, 3, {0, 253, 0, 0});
    set_pixel(region, 4, {0, 128, 0, 0});
    set_pixel(region, 24 + 16, {0, 0, 128, 0});
    // A: the error of the last pixel of a line does not reach the first of the next.
    set_pixel(region, 23, {0, 0, 0, 60});
    set_pixel(region, 24, {0, 0, 0, 100});
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(indices_of(region),
        testing::ElementsAre(0, 0, 14, 2, 2, 11, 0, 0, 8, 0, 0, 5, 0, 0, 2, 0, 5, 1, 1, 13, 0, 0, 10, 0,

            0, 7, 0, 0, 4, 0, 0, 1, 0, 15, 0, 0, 12, 0, 0, 9, 4, 0, 6, 0, 0, 3, 0, 0));
}

TEST(Palette, CountsClutIdsFromOneAndTakesRegionsWithoutPixels)
{
    const page_owner page = new_page();
    for (std::uint32_t i = 0; i < 257; ++i)
        add_region(*page, i % 2, 1 - i % 2);
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    std::uint8_t expected = 1;
    for (const auto* region = page->regions; region != nullptr; region = region->next) {
        EXPECT_EQ(region->palette->clut_id, expected++);
        EXPECT_THAT(region->palette->entries, Each(palette_entry{}));
    }
}

TEST(Palette, StopsWhereThereIsNoMemory)
{
    EXPECT_EQ(YuvaYuvp(nullptr), nullptr);
    const page_owner page = new_page();
    auto& first = add_region(*page, 9, 2, {7, 128, 128, 255});
    const auto& second = add_region(*page, 9, 2);
    for (const std::int32_t n : {1, 2}) { // the errors of a line, then the palette of the second region
        const watched_allocation watch(n);
        EXPECT_EQ(YuvaYuvp(page.get()), nullptr);
        EXPECT_EQ(watch.last_size_bytes, n == 1 ? sizeof(std::int32_t[10][4]) : sizeof(palette));
        EXPECT_EQ(first.palette->entry_count, n == 1 ? 1 : 16);
        EXPECT_THAT(indices_of(first), Each(n == 1 ? 7 : 0));
        EXPECT_EQ(second.chroma, chroma_yuva);
    }
}
