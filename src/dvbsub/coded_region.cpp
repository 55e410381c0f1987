#include "coded_region.h"

#include <algorithm>

namespace {

digest digest_of(const picture& source)
{
    digest sum;
    for (const std::uint32_t number :
        {source.format.width, source.format.height, std::uint32_t{source.top_field_only}, source.field_count})
        add_number(sum, number);
    const std::size_t plane_size = std::size_t{source.format.width} * source.format.height;
    add_bytes(sum, {source.buffer, plane_total * plane_size});
    return sum;
}

} // namespace

void find_coded_regions(coded_regions& known, subpicture& page)
{
    for (auto* region = page.regions; region != nullptr; region = region->next) {
        const digest source = digest_of(*region->picture);
        coded_region* const end = known.regions.data() + known.count;
        coded_region* const found = std::find_if(known.regions.data(), end,
            [&source](const coded_region& candidate) { return candidate.source == source; });
        if (found == end) {
            if (known.count == known.regions.size())
                continue;
            found->source = source;
            ++known.count;
        }
        region->coded = found;
    }
}
