#pragma once

#include <string_view>

/// Where the XML files, the brand logos and the icons lie.
inline constexpr std::string_view resources_directory = "/usr/playout/.medias/resources/";
