#include "palette.h"

#include "coded_region.h"
#include "error_diffusion.h"
#include "palette_search.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::int32_t padded_entries = 16;

void pad_with_transparent(palette& colours)
{
    auto* const first = colours.entries.data();
    std::fill(first + colours.entry_count, first + padded_entries, palette_entry{});
    colours.entry_count = padded_entries;
}

bool convert(subpicture_region& region, std::uint8_t clut_id)
{
    auto* const colours = static_cast<palette*>(std::calloc(1, sizeof(palette)));
    if (colours == nullptr)
        return false;
    colours->clut_id = clut_id;
    std::free(region.palette);
    region.palette = colours;
    region.chroma = chroma_yuvp;

    if (region.coded != nullptr && region.coded->complete) {
        colours->entry_count = padded_entries;
        std::ranges::copy(region.coded->colours, colours->entries.begin());
        return true;
    }
    const bool exact = find_colours(*colours, *region.picture);
    if (!map_pixels(*region.picture, *colours, exact))
        return false;
    pad_with_transparent(*colours);
    return true;
}

} // namespace

subpicture* YuvaYuvp(subpicture* page)
{
    if (page == nullptr)
        return nullptr;
    std::uint8_t clut_id = 1;
    for (subpicture_region* region = page->regions; region != nullptr; region = region->next) {
        if (!convert(*region, clut_id++))
            return nullptr;
    }
    return page;
}
