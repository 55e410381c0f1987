#include "input.h"
#include "memory_failures.h"
#include "page_check.h"
#include "plain_conversion.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::size_t regions_max = 24; // 19 and more do not fit into a refresh display set
constexpr std::uint32_t pixels_max = 4096;
constexpr std::uint32_t longest_line = 1024; // longer than any run that has a code

// Bits of the byte that says what kind of region comes.
constexpr std::uint32_t palettised = 1;
constexpr std::uint32_t without_palette = 2;
constexpr std::uint32_t top_field_only = 4;
constexpr std::uint32_t unknown_chroma = 8;

std::uint32_t chroma_of(std::uint32_t kind)
{
    if ((kind & unknown_chroma) != 0)
        return chroma_code("RGBA");
    return (kind & palettised) != 0 ? chroma_yuvp : chroma_yuva;
}

/// Repeats the colours of the input, each over a run of pixels.
void paint(const picture& target, std::uint32_t run, std::span<const std::uint8_t> colours)
{
    const std::size_t pixels = std::size_t{target.format.width} * target.format.height;
    for (std::size_t p = 0; p < pixels; ++p) {
        for (std::size_t k = 0; k < plane_total; ++k) {
            const std::size_t at = p / (run + 1) * plane_total + k;
            target.planes[k].pixels[p] = colours.empty() ? std::uint8_t{0} : colours[at % colours.size()];
        }
    }
}

/// Brings the indices below the number of entries, as every picture has them that was converted.
void bound_indices(const subpicture_region& region)
{
    const std::int32_t entries = std::clamp(region.palette->entry_count, 1, 256);
    const std::size_t pixels = std::size_t{region.width} * region.height;
    for (std::uint8_t& index : std::span(region.picture->planes[0].pixels, pixels))
        index = static_cast<std::uint8_t>(index % entries);
}

subpicture_region* take_region(std::span<const std::uint8_t>& input)
{
    const std::uint32_t kind = take_u8(input);
    region_format format{.chroma = chroma_of(kind)};
    format.width = take_u16(input) % (longest_line + 1);
    format.height = take_u8(input);
    if (format.width * format.height > pixels_max)
        format.height = pixels_max / format.width;
    palette colours{.clut_id = static_cast<std::uint8_t>(take_u8(input)), .entry_count = take_s16(input)};
    format.palette = &colours;
    const std::uint32_t run = take_u8(input);
    const auto pattern = take_bytes(input, take_u8(input));
    for (std::size_t i = 0; i < pattern.size(); ++i)
        colours.entries[i / plane_total][i % plane_total] = pattern[i];

    subpicture_region* const region = subpicture_region_New(format);
    if (region == nullptr)
        return nullptr;
    region->x = take_u16(input);
    region->y = take_u16(input);
    paint(*region->picture, run, pattern);
    if (region->chroma == chroma_yuvp)
        bound_indices(*region);
    region->picture->top_field_only = (kind & top_field_only) != 0 ? 1 : 0;
    if ((kind & without_palette) != 0) {
        std::free(region->palette);
        region->palette = nullptr;
    }
    return region;
}

void take_regions(subpicture& page, std::span<const std::uint8_t> input)
{
    subpicture_region** link = &page.regions;
    for (std::size_t count = 0; count < regions_max && !input.empty(); ++count) {
        *link = take_region(input);
        if (*link == nullptr)
            return;
        link = &(*link)->next;
    }
}

/// What the regions of a page that is to be converted must become.
std::vector<plain::colour_reduction> reductions_of(const subpicture& page)
{
    std::vector<plain::colour_reduction> reductions;
    if (page.regions != nullptr && page.regions->chroma == chroma_yuva)
        for (const auto* region = page.regions; region != nullptr; region = region->next)
            reductions.push_back(plain::reduce_colours(*region));
    return reductions;
}

void check_conversion(const subpicture& page, const std::vector<plain::colour_reduction>& expected)
{
    std::uint8_t clut_id = 1;
    const auto* region = page.regions;
    for (const auto& reduction : expected) {
        require(region->chroma == chroma_yuvp && region->palette->clut_id == clut_id++);
        std::array<palette_entry, 16> colours{};
        std::ranges::copy(reduction.palette, colours.begin());
        require(region->palette->entry_count == 16);
        require(std::ranges::equal(colours, std::span(region->palette->entries).first(16)));
        require(std::ranges::equal(
            reduction.indices, std::span(region->picture->planes[0].pixels, reduction.indices.size())));
        region = region->next;
    }
}

/// Twice, since the second display set goes on with the versions of the first.
void encode(encoder& state, subpicture& page)
{
    const auto expected = reductions_of(page);
    for (int round = 0; round < 2; ++round) {
        const owned_block display_set(Encode(&state, &page));
        if (!display_set)
            return;
        check_conversion(page, expected);
        check_display_set(*display_set, page);
        const owned_block refresh(EncodeRefreshDisplaySet(&state, &page));
        if (refresh)
            check_refresh_set(*refresh, page);
    }
}

void run(std::span<const std::uint8_t> input)
{
    const owned_page page(subpicture_New(static_cast<std::uint16_t>(take_u16(input)), 720, 576));
    const owned_encoder state(OpenEncoder());
    if (!page || !state)
        return;
    take_regions(*page, input);
    encode(*state, *page);
}

} // namespace

/// Whether requests for memory fail, the page_id, then regions: see `take_region`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    std::span<const std::uint8_t> input(bytes, size);
    const bool fail = take_u8(input) == 1 && size <= failing_input_max_bytes;
    with_each_request_failing(fail, [&] { run(input); });
    return 0;
}
