#include "text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <limits>

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

void replace_text(char*& kept, std::string_view text)
{
    if (char* const copy = copy_text(text)) {
        std::free(kept);
        kept = copy;
    }
}

std::optional<std::int32_t> parse_decimal(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (text.starts_with('+') && !text.starts_with("+-")) // which from_chars does not know
        text.remove_prefix(1);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument)
        return std::nullopt;
    using limits = std::numeric_limits<std::int64_t>;
    if (error == std::errc::result_out_of_range)
        value = negative ? limits::min() : limits::max();
    return static_cast<std::int32_t>(value);
}
