#include "reuse.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

// Odd, and without a pattern: the fractions of the square roots of 2 and 3.
constexpr std::uint64_t first_factor = 0x6A09E667F3BCC909;
constexpr std::uint64_t second_factor = 0xBB67AE8584CAA73B;

// Each step is one to one in the state and in the number. A multiplication carries every bit up; the
// rotations and shifts bring it down again, differently in the two words.
void add_number(pixel_digest& sum, std::uint64_t number)
{
    auto& [first, second] = sum;
    first = std::rotl(first ^ number, 29) * first_factor;
    first ^= first >> 32;
    second = (std::rotl(second, 37) + number) * second_factor;
    second ^= second >> 29;
}

void add_bytes(pixel_digest& sum, std::span<const std::uint8_t> bytes)
{
    constexpr std::size_t word_bytes = sizeof(std::uint64_t);
    for (; bytes.size() >= word_bytes; bytes = bytes.subspan(word_bytes)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), word_bytes);
        add_number(sum, word);
    }
    for (const std::uint8_t byte : bytes)
        add_number(sum, byte);
}

} // namespace

pixel_digest digest_of(const picture& source)
{
    pixel_digest sum{};
    add_number(sum, std::uint64_t{source.format.width} << 32 | source.format.height);
    const std::size_t plane_bytes = std::size_t{source.format.width} * source.format.height;
    add_bytes(sum, {source.buffer, plane_total * plane_bytes});
    return sum;
}

const coded_region* find_coded_region(const coded_regions& encoded, const pixel_digest& pixels)
{
    const auto regions = std::span(encoded.regions).first(encoded.count);
    const auto found = std::ranges::find(regions, pixels, &coded_region::pixels);
    return found == regions.end() ? nullptr : &*found;
}

void insert_coded_region(coded_regions& encoded, const coded_region& region)
{
    if (encoded.count < encoded.regions.size())
        encoded.regions[encoded.count++] = region;
}
