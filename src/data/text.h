#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

/// A zero-terminated copy made with `malloc`, which the caller frees. Without memory it prints
/// "Cannot allocate memory\n" on standard error and returns null.
[[nodiscard]] char* copy_text(std::string_view text);

/// Puts such a copy in the place of an owned text, which is freed; without memory that one stays.
void replace_text(char*& kept, std::string_view text);

/// Letter case by ASCII alone: whatever the locale, and bytes of other characters pass unchanged.
constexpr char ascii_lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool equal_ignoring_case(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, ascii_lower, ascii_lower);
}

/// Reads a decimal integer as the C library's "%d" does: leading white space, an optional sign,
/// digits up to the first other character. Nothing when no digit comes first. A number beyond 64 bits counts
/// as the nearest one within them; of 64 bits the low 32 are taken.
[[nodiscard]] std::optional<std::int32_t> parse_decimal(std::string_view text);
