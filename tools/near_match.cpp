#include "near_match.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::size_t longest_name = 31;
using distance_row = std::array<std::size_t, longest_name + 1>;

std::string lowered(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), ascii_lower);
    return result;
}

/// The distance of all that is written so far to each beginning of the name, from the rows before it.
distance_row next_row(std::string_view written, std::size_t i, std::string_view name,
    const distance_row& previous, const distance_row& before)
{
    distance_row row{};
    row[0] = i;
    for (std::size_t j = 1; j <= name.size(); ++j) {
        const bool equal = written[i - 1] == name[j - 1];
        row[j] = std::min({previous[j] + 1, row[j - 1] + 1, previous[j - 1] + (equal ? 0 : 1)});
        if (i > 1 && j > 1 && written[i - 1] == name[j - 2] && written[i - 2] == name[j - 1])
            row[j] = std::min(row[j], before[j - 2] + 1);
    }
    return row;
}

/// Slips between two texts (optimal string alignment).
std::size_t slips(std::string_view written, std::string_view name)
{
    distance_row before{};
    distance_row row{};
    for (std::size_t j = 0; j <= name.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= written.size(); ++i) {
        const distance_row next = next_row(written, i, name, row, before);
        before = row;
        row = next;
    }
    return row[name.size()];
}

} // namespace

std::string_view near_match(std::string_view written, std::span<const std::string_view> names)
{
    if (written.size() > longest_name)
        return {};
    std::string_view best;
    std::size_t fewest = longest_name;
    for (const std::string_view name : names) {
        const std::size_t count = slips(lowered(written), lowered(name));
        const std::size_t allowed = name.size() > 4 ? 2 : 1;
        if (count <= allowed && count < fewest) {
            fewest = count;
            best = name;
        }
    }
    return best;
}

std::string list_of(std::span<const std::string_view> names)
{
    std::string list;
    for (const std::string_view name : names)
        list.append(list.empty() ? "\"" : ", \"").append(name).append("\"");
    return list;
}
