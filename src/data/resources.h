#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

/// Where the XML files, the brand logos and the icons lie.
inline constexpr std::string_view resources_directory = "/usr/playout/.medias/resources/";

/// Room for the path of a logo file, the terminating zero included.
inline constexpr std::size_t logo_path_size_bytes = 256;
using logo_path_text = std::array<char, logo_path_size_bytes>;

/// The zero-terminated path at which a brand's logo lies: the directory, whose path ends with a slash,
/// the brand in lower case (ASCII letters only) and ".png". Nothing for a brand too long to fit: in the
/// resources directory, of more than 220 bytes.
std::optional<logo_path_text> logo_path(
    std::string_view brand, std::string_view directory = resources_directory);

/// A copy, made with `malloc` and owned by the caller, of the path of the brand's logo file. Null for
/// a null brand and when the process may not read such a file; the file itself is not opened.
[[nodiscard]] char* brandToLogo(const char* brand);

/// The same for the logos of another directory, whose path ends with a slash.
[[nodiscard]] char* find_logo(const char* brand, std::string_view directory);
