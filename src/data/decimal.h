#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Reads a decimal integer as the C library's "%d" does: leading white space, an optional sign,
/// digits up to the first other character. Nothing when no digit comes first. A number that does not
/// fit into 64 bits counts as the nearest one that does; the result carries its low 32 bits.
std::optional<std::int32_t> parse_decimal(std::string_view text);
