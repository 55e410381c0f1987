#include "palette.h"

#include "allocation_fakes.h"
#include "pages.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <utility>

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr palette_entry transparent{};

palette_entry grey(std::size_t y)
{
    return {static_cast<std::uint8_t>(y), 128, 128, 255};
}

/// Sixteen colours, the components at one end or the other by the bits of j: no tolerance merges two, and
/// the nearest to a colour is the nearest in each component.
palette_entry corner(std::size_t j)
{
    const auto end = [j](std::size_t bit, int high) {
        return static_cast<std::uint8_t>(j >> bit & 1 ? high : 0);
    };
    return {end(0, 254), end(1, 254), end(2, 254), end(3, 255)};
}

/// Y of the first entries.
std::vector<std::uint8_t> y_values(const palette& colours, std::size_t count)
{
    std::vector<std::uint8_t> values;
    for (std::size_t j = 0; j < count; ++j)
        values.push_back(colours.entries[j][0]);
    return values;
}

} // namespace

TEST(Palette, OneColourIsEntryZero)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 5, 3, {81, 90, 240, 255});
    ASSERT_EQ(YuvaYuvp(page.get()), page.get());
    EXPECT_EQ(region.chroma, chroma_yuvp);
    EXPECT_EQ(region.palette->entry_count, 16);
    EXPECT_THAT(region.palette->entries[0], ElementsAre(81, 90, 240, 255));
    EXPECT_THAT(std::span(region.palette->entries).subspan(1), Each(transparent));
    EXPECT_THAT(indices_of(region), Each(0));
    EXPECT_EQ(region.picture->planes[1].pixels[14], 90); // the other planes stay
}

TEST(Palette, CollectsColoursInAScatteredOrder)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 4, 3);
    for (std::size_t pixel = 0; pixel < 12; ++pixel)
        set_pixel(region, pixel, grey(20 * pixel));
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(
        y_values(*region.palette, 12), ElementsAre(0, 140, 40, 180, 80, 220, 120, 20, 160, 60, 200, 100));
    EXPECT_THAT(indices_of(region), ElementsAre(0, 7, 2, 9, 4, 11, 6, 1, 8, 3, 10, 5));
}

TEST(Palette, StepsByTheNextCoprimeNumber)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 88, 550, grey(0));
    for (std::size_t pixel = 36'280; pixel <= 36'290; ++pixel)
        set_pixel(region, pixel, grey(pixel - 36'200));
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(y_values(*region.palette, 2), ElementsAre(0, 83));
}

TEST(Palette, WidensTheToleranceUntilTheColoursFit)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 8, 4);
    for (std::size_t pixel = 0; pixel < 32; ++pixel)
        set_pixel(region, pixel, grey(8 * pixel));
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(y_values(*region.palette, 15),
        ElementsAre(0, 200, 144, 88, 32, 232, 176, 120, 64, 16, 216, 160, 104, 48, 248));
    EXPECT_EQ(region.palette->entries[15], transparent);
    EXPECT_THAT(indices_of(region),
        ElementsAre(0, 0, 9, 4, 4, 4, 13, 8, //
            8, 8, 3, 3, 3, 12, 7, 7,         //
            7, 2, 2, 2, 11, 6, 6, 6,         //
            1, 1, 1, 10, 5, 5, 5, 14));
}

TEST(Palette, OpacityHasHalfTheTolerance)
{
    // 16 colours: twelve far from all others, two that differ by 2 in Y and merge at tolerance 2, and
    // two that differ by 1 in the component. Only if those merge at tolerance 1 do the former stay apart.
    for (const auto& [component, colours] : {std::pair{0U, 15}, {1U, 15}, {2U, 15}, {3U, 14}}) {
        const page_owner page = new_page();
        auto& region = add_region(*page, 16, 1);
        for (std::size_t pixel = 0; pixel < 13; ++pixel)
            set_pixel(region, pixel, grey(20 * pixel));
        set_pixel(region, 13, grey(242));
        set_pixel(region, 14, grey(253));
        palette_entry close = grey(100);
        --close[component];
        set_pixel(region, 15, close);
        ASSERT_NE(YuvaYuvp(page.get()), nullptr);
        const auto& entries = region.palette->entries;
        EXPECT_EQ(std::count(entries.begin(), entries.begin() + 16, transparent), 16 - colours) << component;
    }
}

TEST(Palette, KeepsSixteenColoursThatNoToleranceMerges)
{
    // The last pixel to be visited of 17 is number 12; its two nearest colours are 155 - 12 and 100 + 18
    // away from it, or 173 and 176 with opacity counted twice.
    const page_owner page = new_page();
    auto& region = add_region(*page, 17, 1, {0, 110, 1, 118});
    constexpr std::array<std::uint8_t, 8> opacities{0, 85, 170, 255, 40, 104, 168, 232};
    std::vector<palette_entry> colours;
    for (std::size_t j = 0; j < 16; ++j) {
        const auto u = static_cast<std::uint8_t>(j % 8 < 4 ? 0 : 255);
        colours.push_back({0, u, static_cast<std::uint8_t>(j < 8 ? 1 : 255), opacities[j % 8]});
        set_pixel(region, j * 5 % 17, colours.back());
    }
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(std::span(region.palette->entries).first(16), ElementsAreArray(colours));
    EXPECT_THAT(indices_of(region), ElementsAre(0, 7, 14, 4, 11, 1, 8, 15, 5, 12, 2, 9, 5, 6, 13, 3, 10));
}

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
        ElementsAre(0, 0, 14, 2, 2, 11, 0, 0, 8, 0, 0, 5, 0, 0, 2, 0, 5, 1, 1, 13, 0, 0, 10, 0, //
            0, 7, 0, 0, 4, 0, 0, 1, 0, 15, 0, 0, 12, 0, 0, 9, 4, 0, 6, 0, 0, 3, 0, 0));
}

TEST(Palette, CountsClutIdsFromOneInEachDisplaySet)
{
    for (int repetition = 0; repetition < 2; ++repetition) {
        const page_owner page = new_page();
        for (int i = 0; i < 257; ++i)
            add_region(*page, 1, 1);
        ASSERT_NE(YuvaYuvp(page.get()), nullptr);
        std::uint8_t expected = 1;
        for (const auto* region = page->regions; region != nullptr; region = region->next)
            EXPECT_EQ(region->palette->clut_id, expected++);
    }
}

TEST(Palette, VisitsTheSmallestRegionsWhole)
{
    const page_owner page = new_page();
    const auto& one = add_region(*page, 1, 1, grey(50));
    auto& two = add_region(*page, 2, 1, grey(60));
    set_pixel(two, 1, grey(70));
    const auto& no_width = add_region(*page, 0, 7);
    const auto& no_height = add_region(*page, 7, 0);
    ASSERT_NE(YuvaYuvp(page.get()), nullptr);
    EXPECT_THAT(y_values(*one.palette, 2), ElementsAre(50, 0));
    EXPECT_THAT(y_values(*two.palette, 3), ElementsAre(60, 70, 0));
    EXPECT_THAT(indices_of(two), ElementsAre(0, 1));
    for (const auto* region : {&no_width, &no_height}) {
        EXPECT_EQ(region->palette->entry_count, 16);
        EXPECT_THAT(region->palette->entries, Each(transparent));
    }
}

TEST(Palette, StopsWhereThereIsNoMemory)
{
    EXPECT_EQ(YuvaYuvp(nullptr), nullptr);
    const page_owner page = new_page();
    auto& first = add_region(*page, 9, 2, grey(7));
    const auto& second = add_region(*page, 9, 2);
    {
        const watched_allocation watch(1);
        EXPECT_EQ(YuvaYuvp(page.get()), nullptr);
        EXPECT_EQ(watch.last_size_bytes, sizeof(std::int32_t[10][4])); // the errors of one line
    }
    EXPECT_EQ(first.chroma, chroma_yuvp);
    EXPECT_EQ(first.palette->entry_count, 1);
    EXPECT_THAT(indices_of(first), Each(7));
    EXPECT_EQ(second.chroma, chroma_yuva);

    const watched_allocation watch(2);
    EXPECT_EQ(YuvaYuvp(page.get()), nullptr);
    EXPECT_EQ(first.palette->entry_count, 16);
    EXPECT_EQ(second.chroma, chroma_yuva);
}
