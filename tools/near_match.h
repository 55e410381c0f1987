#pragma once

#include <span>
#include <string>
#include <string_view>

/// The name that was probably meant: the same in other letter case, or one or two slips of the pen away
/// (a letter too many, too few, another, or two swapped). Empty when none is near.
std::string_view near_match(std::string_view written, std::span<const std::string_view> names);

/// The names in quotes, with commas between them.
std::string list_of(std::span<const std::string_view> names);
