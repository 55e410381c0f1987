#include "reuse.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr std::size_t word_bytes = sizeof(std::uint64_t);

// Odd, and without a pattern: the fractions of the square roots of 2 and 3.
constexpr std::uint64_t first_factor = 0x6A09E667F3BCC909;
constexpr std::uint64_t second_factor = 0xBB67AE8584CAA73B;

} // namespace

// Each step is one to one in the state and in the number. A multiplication carries every bit up; the
// rotations and shifts bring it down again, differently in the two words.
void add_number(digest& sum, std::uint64_t number)
{
    auto& [first, second] = sum.words;
    first = std::rotl(first ^ number, 29) * first_factor;
    first ^= first >> 32;
    second = (std::rotl(second, 37) + number) * second_factor;
    second ^= second >> 29;
}

void add_bytes(digest& sum, std::span<const std::uint8_t> bytes)
{
    add_number(sum, bytes.size());
    for (; bytes.size() >= word_bytes; bytes = bytes.subspan(word_bytes)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), word_bytes);
        add_number(sum, word);
    }
    for (const std::uint8_t byte : bytes)
        add_number(sum, byte);
}

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
