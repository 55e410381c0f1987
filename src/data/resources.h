#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

/// Where the XML files, the brand logos and the icons lie.
inline constexpr std::string_view resources_directory = "/usr/playout/.medias/resources/";

/// Room for the path of a picture, the terminating zero included.
inline constexpr std::size_t picture_path_size_bytes = 256;
using picture_path_text = std::array<char, picture_path_size_bytes>;

/// The zero-terminated path of a PNG file: the folder, whose path ends with a slash, the name and ".png".
/// Nothing for a name too long to fit: in the resources directory, of more than 220 bytes.
[[nodiscard]] std::optional<picture_path_text> picture_path(std::string_view folder, std::string_view name);

/// A copy, made with `malloc` and owned by the caller, of the path of the brand's logo in the folder: its
/// name is the brand in lower case (ASCII letters only). Null for a null brand and when the process may not
/// read such a file; the file itself is not opened.
[[nodiscard]] char* brandToLogo(const char* brand, std::string_view folder);
