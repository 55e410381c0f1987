#include "encoder.h"

#include "allocation_fakes.h"
#include "capture.h"
#include "pages.h"
#include "palette.h"
#include "subtitle_segments.h"

#include <gmock/gmock.h>
#include <utility>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::SizeIs;

namespace {

using bytes = std::vector<std::uint8_t>;

block_owner display_set_of(subpicture& page)
{
    return block_owner(Encode(encoder_owner(OpenEncoder()).get(), &page));
}

std::vector<subtitle_segment> segments_of(const block& data)
{
    const segment_list list = read_segments(bytes_of(data));
    EXPECT_EQ(list.problem, "");
    return list.segments;
}

} // namespace

TEST(Encoder, WritesTheWholeDisplaySetAndItsRefresh)
{
    const page_owner page = new_page();
    add_region(*page, 4, 2);
    const encoder_owner state(OpenEncoder());
    const block_owner display_set(Encode(state.get(), page.get()));
    const block_owner refresh(EncodeRefreshDisplaySet(state.get(), page.get()));

    bytes expected{
        0x20, 0x00,                                     // data_identifier, subtitle_stream_id
        0x0F, 0x10, 0x00, 0x01, 0x00, 0x08, 0xFA, 0x08, // page composition: time-out, version 0, mode change
        0x00, 0x00, 0x00, 0x0A, 0x00, 0x14,             // region 0 at (10, 20)
        0x0F, 0x11, 0x00, 0x01, 0x00, 0x10, 0x00, 0x08, // region composition: region 0, version 0, filled
        0x00, 0x04, 0x00, 0x02, 0x48, 0x01, 0x01, 0x14, // 4 x 2, 4 bits deep, CLUT 1, filled with entry 1
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             // object 0 at (0, 0)
        0x0F, 0x12, 0x00, 0x01, 0x00, 0x62, 0x01, 0x00, // CLUT definition: CLUT 1, version 0
        0x00, 0x41, 0xEB, 0x80, 0x80, 0x00,             // entry 0
    };
    for (std::uint8_t entry = 1; entry < 16; ++entry)
        expected.insert(expected.end(), {entry, 0x41, 0x00, 0x00, 0x00, 0xFF});
    expected.insert(expected.end(),
        {
            0x0F, 0x13, 0x00, 0x01, 0x00, 0x10, 0x00, 0x00, 0x10, // object data: object 0, version 1
            0x00, 0x04, 0x00, 0x04,                               // length of the top and the bottom field
            0x11, 0x02, 0x00, 0xF0, 0x11, 0x02, 0x00, 0xF0, 0x00, // a line in each, stuffing
            0x0F, 0x80, 0x00, 0x01, 0x00, 0x00, 0xFF,             // end of display set, end marker
        });
    EXPECT_THAT(bytes_of(*display_set), ElementsAreArray(expected));
    EXPECT_THAT(bytes_of(*refresh),
        ElementsAre(0x20, 0x00, 0x0F, 0x10, 0x00, 0x01, 0x00, 0x08, 0xFA, 0x10, 0x00, 0x00, 0x00, 0x0A, 0x00,
            0x14, 0x0F, 0x80, 0x00, 0x01, 0x00, 0x00, 0xFF));
}

TEST(Encoder, RefusesWhatItCannotEncode)
{
    const encoder_owner state(OpenEncoder());
    const page_owner page = new_page();
    const auto refused = [&] { EXPECT_EQ(block_owner(Encode(state.get(), page.get())), nullptr); };
    EXPECT_EQ(stderr_of(refused), "") << "an empty page";
    EXPECT_EQ(EncodeRefreshDisplaySet(state.get(), page.get()), nullptr);
    EXPECT_EQ(Encode(state.get(), nullptr), nullptr);
    EXPECT_EQ(EncodeRefreshDisplaySet(state.get(), nullptr), nullptr);
    EXPECT_EQ(YuvaYuvp(nullptr), nullptr);

    auto& region = add_indexed_region(*page, 1, 8, {0});
    EXPECT_EQ(stderr_of(refused), "subpicture palette (8) not handled\n");
    region.chroma = chroma_code("RGBA");
    EXPECT_EQ(stderr_of(refused), "chroma not supported\n");
}

/// Y 0 stands for full transparency (7.2.4). Behind the entry's number stand its depth and full_range_flag.
TEST(Encoder, SendsAnOpaqueColourWithoutLuminanceAsBlack)
{
    for (const auto& [entries, flags] : {std::pair{4, 0x81}, {16, 0x41}, {256, 0x21}}) {
        const page_owner page = new_page();
        auto& region = add_indexed_region(*page, 1, entries, {1});
        region.palette->entries[1] = {0, 128, 130, 255};
        region.palette->entries[2] = {1, 128, 130, 0};
        const block_owner display_set = display_set_of(*page);
        EXPECT_THAT(std::span(segments_of(*display_set)[2].data).subspan(2 + 6, 12),
            ElementsAre(1, flags, 0x10, 0x82, 0x80, 0x00, 2, flags, 0x00, 0x82, 0x80, 0xFF));
    }
}

TEST(Encoder, TakesLaterRegionsOfAnyKind)
{
    const page_owner page = new_page();
    add_indexed_region(*page, 1, 16, {1});
    add_region(*page, 2, 2);
    add_indexed_region(*page, 1, 300, {1, 2}); // more entries than there are
    std::free(std::exchange(add_indexed_region(*page, 1, 4, {1}).palette, nullptr));
    add_indexed_region(*page, 1, 4, {1});
    block_owner display_set;
    EXPECT_EQ(stderr_of([&] { display_set = display_set_of(*page); }),
        "subpicture has no palette - ignoring it\nFOURCC 1096176985 not supported by encoder.\n"
        "subpicture palette (300) not handled\nsubpicture palette (300) not handled\n");
    const auto segments = segments_of(*display_set);
    ASSERT_THAT(segments, SizeIs(1 + 3 + 4 + 5 + 1)); // no region composition behind the missing palette
    EXPECT_THAT(segments[5].data, SizeIs(2));         // CLUT definitions
    EXPECT_THAT(segments[6].data, SizeIs(2 + 6 * 256));
    EXPECT_THAT(segments[9].data, ElementsAre(0, 1, 0x40, 0, 0, 0, 0, 0)); // objects
    EXPECT_THAT(segments[10].data, ElementsAre(0, 2, 0x50, 0, 1, 0, 1, 0xF0, 0xF0, 0));
    EXPECT_THAT(segments[11].data, ElementsAre(0, 3, 0x60, 0, 0, 0, 0, 0));
    EXPECT_THAT(segments[12].data, ElementsAre(0, 4, 0x70, 0, 3, 0, 0, 0x10, 0x40, 0xF0));
}

TEST(Encoder, GivesARegionThatNoPageAnnouncedItsOwnSize)
{
    const page_owner page = new_page();
    add_region(*page, 4, 2);
    std::array<std::uint8_t, 16> segment{};
    bit_writer out;
    bs_init(out, segment.data(), segment.size());
    encode_region_composition(*encoder_owner(OpenEncoder()), out, *page);
    EXPECT_THAT(std::span(segment).subspan(8, 4), ElementsAre(0, 4, 0, 2));
}

TEST(Encoder, CutsARefreshThatDoesNotFitItsBlock)
{
    const page_owner page = new_page();
    for (int i = 0; i < 20; ++i)
        add_region(*page, 1, 1);
    const block_owner refresh(EncodeRefreshDisplaySet(encoder_owner(OpenEncoder()).get(), page.get()));
    EXPECT_EQ(refresh->length, 128);
    EXPECT_THAT(
        bytes_of(*refresh).first(8), ElementsAre(0x20, 0x00, 0x0F, 0x10, 0x00, 0x01, 0x00, 6 * 20 + 2));
}

TEST(Encoder, NeedsAllItsMemory)
{
    // Two palettes, two rows, the block, two sizes; then none is hit. For the refresh the block and two
    // sizes.
    for (std::int32_t n = 0; n <= 7; ++n) {
        const page_owner page = new_page();
        add_region(*page, 3, 3);
        add_region(*page, 3, 3);
        const encoder_owner state(OpenEncoder());
        const encoder_owner fresh(OpenEncoder());
        block_owner display_set;
        block_owner refresh;
        const std::string errors = stderr_of([&] {
            const watched_allocation watch(n);
            display_set.reset(Encode(state.get(), page.get()));
        });
        EXPECT_EQ(display_set != nullptr, n == 7) << n;
        EXPECT_EQ(errors, n < 4 ? "no picture in subpicture\n" : "") << n;
        const watched_allocation watch(n);
        refresh.reset(EncodeRefreshDisplaySet(fresh.get(), page.get()));
        EXPECT_EQ(refresh != nullptr, n > 2) << n;
        EXPECT_EQ(fresh->page_version, n > 2 ? 1 : 0);
    }
    const watched_allocation watch(0);
    EXPECT_EQ(OpenEncoder(), nullptr);
}
