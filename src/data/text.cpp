#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

constexpr std::string_view white_space = " \t\n\v\f\r";
constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();

constexpr bool is_digit(char character)
{
    return character >= '0' && character <= '9';
}

/// Minus the number that the leading digits form, held within 64 bits. The negative half of the
/// range is the larger one, so both signs can be read this way.
constexpr std::int64_t negative_of_digits(std::string_view text)
{
    std::int64_t value = 0;
    for (const char character : text) {
        if (!is_digit(character))
            break;
        const std::int64_t digit = character - '0';
        value = value < (lowest + digit) / 10 ? lowest : value * 10 - digit;
    }
    return value;
}

constexpr std::int64_t negate(std::int64_t value)
{
    return value == lowest ? std::numeric_limits<std::int64_t>::max() : -value;
}

} // namespace

char* copy_text(std::string_view text)
{
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        std::fputs("Cannot allocate memory\n", stderr);
        return nullptr;
    }
    *std::ranges::copy(text, copy).out = '\0';
    return copy;
}

std::optional<std::int32_t> parse_decimal(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(white_space), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    if (text.empty() || !is_digit(text.front()))
        return std::nullopt;

    const std::int64_t value = negative_of_digits(text);
    return static_cast<std::int32_t>(negative ? value : negate(value));
}
