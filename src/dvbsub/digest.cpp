#include "digest.h"

#include <bit>
#include <cstring>

namespace {

constexpr std::size_t word_bytes = sizeof(std::uint64_t);

// Odd, and as many ones as zeros, without a pattern: the fractions of the square roots of 2 and 3.
constexpr std::uint64_t first_factor = 0x6A09E667F3BCC909;
constexpr std::uint64_t second_factor = 0xBB67AE8584CAA73B;

} // namespace

// Each step is one to one in the state and in the number. The rotations bring down what the
// multiplications have carried up, and differ so that the two words go different ways.
void add_number(digest& sum, std::uint64_t number)
{
    sum.words[0] = std::rotl(sum.words[0] ^ number, 29) * first_factor;
    sum.words[1] = (std::rotl(sum.words[1], 37) + number) * second_factor;
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
