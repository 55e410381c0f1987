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

constexpr region_format banner{
    .chroma = chroma_yuva, .width = 88, .height = 550, .x = 603, .y = 14, .bits_per_pixel = 32};

} // namespace

TEST(Picture, ChromaIsTheFourCharactersInMemory)
{
    EXPECT_EQ(std::memcmp(&chroma_yuva, "YUVA", 4), 0);
    EXPECT_EQ(std::memcmp(&chroma_yuvp, "YUVP", 4), 0);
}

TEST(Picture, LaysFourPlanesOneBehindTheOther)
{
    const region_owner region(subpicture_region_New(banner));
    const picture& made = *region->picture;
    EXPECT_TRUE(aligned(made.buffer));
    EXPECT_EQ(made.plane_count, 4);
    for (std::size_t k = 0; k < made.planes.size(); ++k) {
        EXPECT_EQ(made.planes[k].pixels - made.buffer, 48'400 * static_cast<std::ptrdiff_t>(k));
        EXPECT_EQ(made.planes[k].lines, 550);
        EXPECT_EQ(made.planes[k].pitch, 88);
        std::memset(made.planes[k].pixels, 0, 48'400); // all of it is ours
    }
    EXPECT_EQ(made.top_field_only, 0);
    EXPECT_EQ(made.field_count, 2);
    EXPECT_EQ(made.format.x, 603);
    EXPECT_EQ(made.format.y, 14);
}

TEST(Picture, AllocationSetsThePositionBack)
{
    picture made{.format = {.x = 5, .y = 6, .bits_per_pixel = 8}};
    ASSERT_EQ(allocatePicture(made, chroma_yuvp, 3, 2), 0);
    EXPECT_EQ(made.format.chroma, chroma_yuvp);
    EXPECT_EQ(made.format.x + made.format.y, 0);
    EXPECT_EQ(made.format.bits_per_pixel, 32);
    std::free(made.buffer);
}

TEST(Picture, AsksForFourBytesAPixel)
{
    const watched_allocation watch(0);
    picture made;
    EXPECT_EQ(allocatePicture(made, chroma_yuva, 65'536, 65'536), -1);
    EXPECT_EQ(watch.last_size_bytes, std::size_t{1} << 34);
    EXPECT_EQ(made.plane_count, 0);
}

TEST(Picture, RefusesSizesBeyondItsFields)
{
    for (const auto& [width, height] : {std::pair{0x80000000U, 1U}, {1U, 0xFFFFFFFFU}, {0x80000000U, 0U},
             {0x7FFFFFFFU, 0x7FFFFFFFU}, {0xFFFFFFFFU, 0xFFFFFFFFU}}) {
        const region_owner region(subpicture_region_New({.width = width, .height = height}));
        EXPECT_EQ(region, nullptr) << width << " x " << height;
    }
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
    format = {};

    EXPECT_EQ(without->palette->clut_id, 0);
    EXPECT_EQ(without->palette->entry_count, 0);
    EXPECT_EQ(with->palette->clut_id, 3);
    EXPECT_EQ(with->palette->entry_count, 4);
    EXPECT_THAT(with->palette->entries[255], testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(with->picture->format.palette, &colours);
    EXPECT_EQ(with->width, 88);
    EXPECT_EQ(with->format_x, 603);
    EXPECT_EQ(with->x, 0);
}

TEST(Region, NeedsAllItsMemory)
{
    for (std::int32_t n = 0; n < 4; ++n) {
        const watched_allocation watch(n);
        EXPECT_EQ(subpicture_region_New(banner), nullptr) << n;
    }
    const watched_allocation watch(4);
    const region_owner region(subpicture_region_New(banner));
    EXPECT_NE(region, nullptr);
    EXPECT_EQ(watch.requests_left, 0);
    subpicture_region_Delete(nullptr);
    subpicture_region_ChainDelete(nullptr);
}

TEST(Subpicture, GoesBeforeTheOthersOfAChain)
{
    const page_owner first = new_page();
    const page_owner second = new_page();
    subpicture* head = nullptr;
    EXPECT_EQ(SubpictureChain(&head, first.get()), &head);
    SubpictureChain(&head, second.get());
    EXPECT_EQ(head, second.get());
    EXPECT_EQ(second->next, first.get());
    EXPECT_EQ(first->next, nullptr);
    const watched_allocation watch(0);
    EXPECT_EQ(subpicture_New(1, 720, 576), nullptr);
}

TEST(Block, HoldsRecordAndDataInOneAllocation)
{
    for (const auto& [size, allocated] : {std::pair{0U, 96U}, {1U, 112U}, {128U, 224U}, {64'000U, 64'096U}}) {
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
    EXPECT_EQ(watch.last_size_bytes, 0x1'0000'0060);
}
