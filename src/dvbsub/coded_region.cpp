#include "coded_region.h"

#include <algorithm>

coded_region* coded_region_for(coded_regions& known, const digest& source)
{
    coded_region* const end = known.regions.data() + known.count;
    coded_region* const found = std::find_if(known.regions.data(), end,
        [&source](const coded_region& candidate) { return candidate.source == source; });
    if (found != end)
        return found;
    if (known.count == known.regions.size())
        return nullptr;
    ++known.count;
    found->source = source;
    return found;
}
