#include "picture.h"

#include "allocation_fakes.h"
#include "pages.h"

#include <cstring>
#include <gmock/gmock.h>

namespace {

bool aligned(const std::uint8_t* address)
{
    return reinterpret_cast<std::uintptr_t>(address) % 16 == 0;
}

constexpr region_format banner{.chroma = chroma_yuva, .width = 88, .height = 550, .x = 603, .y = 14};

} // namespace

TEST(Picture, RefusesSizesBeyondItsFields)
{
    for (const auto& [width, height] :
        {std::pair{0x80000000U, 0U}, {1U, 0xFFFFFFFFU}, {0x7FFFFFFFU, 0x7FFFFFFFU}}) {
        const region_owner region(subpicture_region_New({.width = width, .height = height}));
        EXPECT_EQ(region, nullptr) << width << " x " << height;
    }
    picture made{.format = {.x = 5, .y = 6}};
    EXPECT_EQ(allocatePicture(made, chroma_yuva, 0x80000000U, 1), -1);
    EXPECT_EQ(made.plane_count + made.format.x + made.format.y, 0);
}

TEST(Region, HasAPaletteOfItsOwn)
{
    palette colours{.clut_id = 3, .entry_count = 4};
    colours.entries[255] = {1, 2, 3, 4};
    region_format format = banner;
    const region_owner without(subpicture_region_New(format));
    format.palette = &colours;
    const region_owner with(subpicture_region_New(format));
    colours = {};
    EXPECT_EQ(without->palette->entry_count, 0);
    EXPECT_EQ(with->palette->clut_id, 3);
    EXPECT_THAT(with->palette->entries[255], testing::ElementsAre(1, 2, 3, 4));
}

TEST(Picture, NeedsAllItsMemory)
{
    for (std::int32_t n = 0; n <= 4; ++n) { // region, palette, picture and pixels; then none is hit
        const watched_allocation watch(n);
        const region_owner region(subpicture_region_New(banner));
        EXPECT_EQ(region != nullptr, n == 4) << n;
    }
    const watched_allocation watch(0);
    EXPECT_EQ(subpicture_New(1, 720, 576), nullptr);
}

TEST(Block, HoldsRecordAndDataInOneAllocation)
{
    for (const auto& [size, allocated] : {std::pair{0U, 96U}, {1U, 112U}, {64'000U, 64'096U}}) {
        const watched_allocation watch(1);
        const block_owner made(block_New(size));
        EXPECT_EQ(watch.last_size_bytes, allocated);
        EXPECT_EQ(made->length, size);
        EXPECT_TRUE(aligned(made->buffer));
        const auto before = made->buffer - reinterpret_cast<std::uint8_t*>(made.get());
        EXPECT_GE(before, static_cast<std::ptrdiff_t>(sizeof(block)) + 32);
        EXPECT_LE(static_cast<std::size_t>(before) + size, allocated);
    }
    const watched_allocation watch(0);
    EXPECT_EQ(block_New(0xFFFFFFFF), nullptr);
    const bool countable = sizeof(std::size_t) > 4; // otherwise the library is not asked at all
    EXPECT_EQ(watch.last_size_bytes, countable ? 0x1'0000'0060U : 0U);
}
