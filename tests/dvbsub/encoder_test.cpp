#include "encoder.h"

#include "allocation_fakes.h"
#include "capture.h"
#include "pages.h"
#include "subtitle_reader.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using bytes = std::vector<std::uint8_t>;

/// What the action writes into a buffer of that size.
bytes written_by(const std::function<void(bit_writer&)>& action, std::size_t size_bytes = 4096)
{
    bytes buffer(size_bytes);
    bit_writer out;
    bs_init(out, buffer.data(), buffer.size());
    action(out);
    buffer.resize(static_cast<std::size_t>(bs_pos(out)) / 8);
    return buffer;
}

encoder_owner new_encoder()
{
    return encoder_owner(OpenEncoder());
}

/// Encodes with an encoder of its own; null for an empty display set.
block_owner display_set_of(subpicture& page)
{
    return block_owner(Encode(new_encoder().get(), &page));
}

std::vector<subtitling_segment> segments_of(const block& data)
{
    const auto segments = read_segments(bytes_of(data));
    EXPECT_TRUE(segments);
    return segments.value_or(std::vector<subtitling_segment>{});
}

std::vector<std::uint32_t> types_of(const std::vector<subtitling_segment>& segments)
{
    std::vector<std::uint32_t> types;
    types.reserve(segments.size());
    for (const auto& segment : segments)
        types.push_back(segment.type);
    return types;
}

/// The version numbers of the segments of that type: the upper half of the byte there.
std::vector<int> versions_of(const block& data, std::uint32_t type, std::size_t place)
{
    std::vector<int> versions;
    for (const auto& segment : segments_of(data)) {
        if (segment.type == type)
            versions.push_back(segment.data[place] >> 4);
    }
    return versions;
}

/// The indices of an object, its fields put together again.
bytes pixels_of(const object_data& object)
{
    bytes pixels;
    for (std::size_t line = 0; line < object.top.size() + object.bottom.size(); ++line) {
        const pixel_line& next = (line % 2 == 0 ? object.top : object.bottom).at(line / 2);
        pixels.insert(pixels.end(), next.begin(), next.end());
    }
    return pixels;
}

} // namespace

TEST(Encoder, WritesTheWholeDisplaySetAndItsRefresh)
{
    const page_owner page = new_page();
    add_region(*page, 4, 2);
    const encoder_owner state = new_encoder();
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
    EXPECT_THAT(bytes_of(*display_set), SizeIs(171));
    EXPECT_THAT(bytes_of(*display_set), ElementsAreArray(expected));
    EXPECT_THAT(bytes_of(*refresh),
        ElementsAre(0x20, 0x00, 0x0F, 0x10, 0x00, 0x01, 0x00, 0x08, 0xFA, 0x10, 0x00, 0x00, 0x00, 0x0A, 0x00,
            0x14, 0x0F, 0x80, 0x00, 0x01, 0x00, 0x00, 0xFF));
}

TEST(Encoder, CountsVersionsAcrossSegmentsAndDisplaySets)
{
    const page_owner page = new_page();
    for (int i = 0; i < 5; ++i)
        add_region(*page, 3, 3);
    const encoder_owner state = new_encoder();
    const block_owner first(Encode(state.get(), page.get()));
    const block_owner refresh(EncodeRefreshDisplaySet(state.get(), page.get()));
    const block_owner second(Encode(state.get(), page.get()));

    EXPECT_THAT(types_of(segments_of(*first)),
        ElementsAre(0x10, 0x11, 0x11, 0x11, 0x11, 0x11, 0x12, 0x12, 0x12, 0x12, 0x12, 0x13, 0x13, 0x13, 0x13,
            0x13, 0x80));
    EXPECT_THAT(types_of(segments_of(*refresh)), ElementsAre(0x10, 0x80));
    EXPECT_THAT(bytes_of(*refresh), SizeIs(17 + 6 * 5));
    EXPECT_THAT(versions_of(*first, 0x10, 1), ElementsAre(0));
    EXPECT_THAT(versions_of(*refresh, 0x10, 1), ElementsAre(1));
    EXPECT_THAT(versions_of(*second, 0x10, 1), ElementsAre(2));
    EXPECT_THAT(versions_of(*first, 0x11, 1), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(versions_of(*first, 0x13, 2), ElementsAre(5, 6, 7, 8, 9));
    EXPECT_THAT(versions_of(*first, 0x12, 1), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(versions_of(*second, 0x13, 2), ElementsAre(15, 0, 1, 2, 3));
}

TEST(Encoder, DescribesARegion)
{
    const page_owner page = new_page();
    auto& region = add_region(*page, 88, 550);
    region.palette->clut_id = 1;
    const struct {
        const char* what;
        std::int32_t entry_count;
        std::size_t transparent; ///< first transparent entry
        std::array<std::uint8_t, 22> segment;
    } cases[] = {
        {"16 entries", 16, 3, {0x0F, 0x11, 0, 1, 0, 16, 0, 0x08, 0, 88, 2, 0x26, 0x48, 1, 0x03, 0x3C}},
        {"none transparent", 16, 16, {0x0F, 0x11, 0, 1, 0, 16, 0, 0x00, 0, 88, 2, 0x26, 0x48, 1, 0x10, 0x00}},
        {"4 entries", 4, 2, {0x0F, 0x11, 0, 1, 0, 16, 0, 0x08, 0, 88, 2, 0x26, 0x24, 1, 0x02, 0x28}},
        {"256 entries", 256, 255, {0x0F, 0x11, 0, 1, 0, 16, 0, 0x08, 0, 88, 2, 0x26, 0x6C, 1, 0xFF, 0xFC}},
        {"256 opaque ones", 256, 256,
            {0x0F, 0x11, 0, 1, 0, 16, 0, 0x00, 0, 88, 2, 0x26, 0x6C, 1, 0x00, 0x00}},
        {"no entries", 0, 0, {0x0F, 0x11, 0, 1, 0, 16, 0, 0x00, 0, 88, 2, 0x26, 0x6C, 1, 0x00, 0x00}},
    };
    for (const auto& [what, entry_count, transparent, segment] : cases) {
        region.palette->entry_count = entry_count;
        for (std::size_t j = 0; j < 256; ++j)
            region.palette->entries[j][3] = j == transparent ? 0 : 1;
        encoder state;
        EXPECT_THAT(written_by([&](auto& out) { encode_region_composition(state, out, *page); }),
            ElementsAreArray(segment))
            << what;
    }
}

TEST(Encoder, SendsColoursAsReceiversTakeThem)
{
    const page_owner page = new_page();
    auto& colours = *add_indexed_region(*page, 1, 4, {0}).palette;
    colours.clut_id = 9;
    colours.entries = {{{235, 128, 128, 255}, {81, 90, 240, 255}, {50, 60, 70, 0}, {0, 60, 70, 1}}};
    encoder state{.clut_version = 17};
    EXPECT_THAT(written_by([&](auto& out) { encode_clut(state, out, *page); }),
        ElementsAre(0x0F, 0x12, 0x00, 0x01, 0x00, 26, 9, 0x10, //
            0, 0x81, 0xEB, 0x80, 0x80, 0x00,                   //
            1, 0x81, 0x51, 0xF0, 0x5A, 0x00,                   //
            2, 0x81, 0x00, 70, 60, 0xFF,                       //
            3, 0x81, 16, 70, 60, 0xFE));
    colours.entry_count = 256;
    const bytes all = written_by([&](auto& out) { encode_clut(state, out, *page); });
    EXPECT_THAT(all, SizeIs(6 + 2 + 6 * 256));
    EXPECT_THAT(std::span(all).subspan(8 + 6 * 255), ElementsAre(255, 0x21, 0, 0, 0, 0xFF));
}

TEST(Encoder, AReceiverGetsEveryPixelBack)
{
    const page_owner page = new_page();
    for (const std::uint32_t width : {1U, 2U, 33U, 88U, 613U}) {
        for (const std::uint32_t height : {1U, 2U, 7U}) {
            for (const std::int32_t entry_count : {4, 16, 256})
                add_indexed_region(*page, width, entry_count,
                    mixed_runs(std::size_t{width} * height, static_cast<std::uint32_t>(entry_count)));
        }
    }
    const block_owner display_set = display_set_of(*page);
    const subpicture_region* region = page->regions;
    std::uint32_t id = 0;
    for (const auto& segment : segments_of(*display_set)) {
        EXPECT_EQ(segment.page_id, 1);
        if (segment.type != 0x13)
            continue;
        const auto object = read_object(segment.data);
        ASSERT_TRUE(object) << id;
        EXPECT_EQ(object->id, id++);
        EXPECT_EQ(pixels_of(*object), indices_of(*region));
        EXPECT_EQ(object->bottom.size(), region->height / 2);
        EXPECT_LE(object->stuffing, 1);
        EXPECT_EQ((segment.offset + 6 + segment.data.size()) % 2, 0);
        region = region->next;
    }
    EXPECT_EQ(region, nullptr);
}

TEST(Encoder, CodesTheTopFieldAloneOnDemand)
{
    const page_owner page = new_page();
    add_indexed_region(*page, 1, 16, {1, 2, 3}).picture->top_field_only = 1;
    encoder state;
    const bytes segment = written_by([&](auto& out) { encode_object(state, out, *page); });
    EXPECT_THAT(segment,
        ElementsAre(0x0F, 0x13, 0x00, 0x01, 0x00, 16, 0x00, 0x00, 0x00, 0x00, 8, 0x00, 0x00, //
            0x11, 0x10, 0x00, 0xF0, 0x11, 0x30, 0x00, 0xF0, 0x00));
}

TEST(Encoder, RefusesWhatItCannotEncode)
{
    EXPECT_EQ(Encode(new_encoder().get(), nullptr), nullptr);
    EXPECT_EQ(EncodeRefreshDisplaySet(new_encoder().get(), nullptr), nullptr);
    const page_owner page = new_page();
    const auto refused = [&] { EXPECT_EQ(display_set_of(*page), nullptr); };
    EXPECT_EQ(stderr_of(refused), "");
    EXPECT_EQ(EncodeRefreshDisplaySet(new_encoder().get(), page.get()), nullptr);

    auto& region = add_indexed_region(*page, 1, 8, {0});
    EXPECT_EQ(stderr_of(refused), "subpicture palette (8) not handled\n");
    region.chroma = chroma_code("RGBA");
    EXPECT_EQ(stderr_of(refused), "chroma not supported\n");
    region.chroma = chroma_yuva;
    const watched_allocation watch(1);
    EXPECT_EQ(stderr_of(refused), "no picture in subpicture\n");
}

TEST(Encoder, EndsTheRegionsAtOneWithoutAPalette)
{
    const page_owner page = new_page();
    for (int i = 0; i < 3; ++i)
        add_indexed_region(*page, 1, 4, {1});
    subpicture_region& second = *page->regions->next;
    std::free(std::exchange(second.palette, nullptr));
    block_owner display_set;
    EXPECT_EQ(
        stderr_of([&] { display_set = display_set_of(*page); }), "subpicture has no palette - ignoring it\n");
    const auto segments = segments_of(*display_set);
    EXPECT_THAT(types_of(segments), ElementsAre(0x10, 0x11, 0x12, 0x12, 0x13, 0x13, 0x13, 0x80));
    EXPECT_THAT(read_object(segments[5].data)->top, IsEmpty());
    EXPECT_THAT(read_object(segments[6].data)->top, ElementsAre(pixel_line{1}));
}

TEST(Encoder, ALaterRegionOfAnotherKindHasAnEmptyObject)
{
    const page_owner page = new_page();
    add_indexed_region(*page, 1, 16, {1});
    add_region(*page, 2, 2);
    add_indexed_region(*page, 1, 300, {1, 2}); // more entries than there are
    add_indexed_region(*page, 1, -1, {1});
    block_owner display_set;
    const std::string messages = stderr_of([&] { display_set = display_set_of(*page); });
    EXPECT_THAT(messages, testing::StartsWith("FOURCC 1096176985 not supported by encoder.\n"));
    const auto segments = segments_of(*display_set);
    EXPECT_THAT(segments[6].data, SizeIs(2)); // the empty CLUT of the second region
    EXPECT_THAT(segments[7].data, SizeIs(2 + 6 * 256));
    EXPECT_THAT(segments[10].data, ElementsAre(0, 1, 0x50, 0, 0, 0, 0, 0));
    EXPECT_THAT(segments[11].data, ElementsAre(0, 2, 0x60, 0, 1, 0, 1, 0xF0, 0xF0, 0));
}

TEST(Encoder, CutsWhatDoesNotFitTheBlock)
{
    const page_owner page = new_page();
    bytes noise(720UL * 576);
    for (std::size_t pixel = 0; pixel < noise.size(); ++pixel)
        noise[pixel] = static_cast<std::uint8_t>(pixel % 15 + 1);
    add_indexed_region(*page, 720, 16, noise);
    for (int i = 1; i < 20; ++i)
        add_indexed_region(*page, 1, 16, {0});
    const encoder_owner state = new_encoder();
    const block_owner display_set(Encode(state.get(), page.get()));
    const block_owner refresh(EncodeRefreshDisplaySet(state.get(), page.get()));
    EXPECT_EQ(display_set->length, 64'000);
    EXPECT_EQ(refresh->length, 128);
    EXPECT_THAT(
        bytes_of(*refresh).first(8), ElementsAre(0x20, 0x00, 0x0F, 0x10, 0x00, 0x01, 0x00, 6 * 20 + 2));
}

TEST(Encoder, WritesNothingBehindTheEndOfABuffer)
{
    const page_owner page = new_page();
    add_indexed_region(*page, 2, 4, {1, 2, 3, 0, 1, 2});
    add_indexed_region(*page, 1, 4, {1, 1});
    const auto encode_all = [&](bit_writer& out) {
        const encoder_owner state = new_encoder();
        EXPECT_EQ(encode_page_composition(*state, out, *page, 1), 0);
        encode_region_composition(*state, out, *page);
        encode_clut(*state, out, *page);
        encode_object(*state, out, *page);
    };
    const std::size_t whole = written_by(encode_all).size();
    for (std::size_t size = 0; size <= whole; ++size) // a heap buffer each: the sanitizer guards its end
        EXPECT_THAT(written_by(encode_all, size), SizeIs(size));
}

TEST(Encoder, NeedsAllItsMemory)
{
    std::int32_t n = 0;
    for (bool encoded = false; !encoded; ++n) {
        const page_owner page = new_page();
        add_region(*page, 3, 3);
        add_region(*page, 3, 3);
        const encoder_owner state = new_encoder();
        const watched_allocation watch(n);
        block_owner display_set;
        (void)stderr_of([&] { display_set.reset(Encode(state.get(), page.get())); });
        encoded = watch.requests_left >= 0;
        EXPECT_EQ(display_set != nullptr, encoded) << n;
    }
    EXPECT_EQ(n, 8); // two palettes, two rows, the block, two sizes; then none is hit

    const page_owner page = new_page();
    add_region(*page, 3, 3);
    const encoder_owner state = new_encoder();
    for (n = 0; n < 2; ++n) {
        const watched_allocation watch(n);
        EXPECT_EQ(EncodeRefreshDisplaySet(state.get(), page.get()), nullptr);
    }
    EXPECT_EQ(state->page_version, 0);
    const watched_allocation watch(0);
    EXPECT_EQ(OpenEncoder(), nullptr);
}
