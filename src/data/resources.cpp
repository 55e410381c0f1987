#include "resources.h"

#include "text.h"

#include <algorithm>
#include <unistd.h>

std::optional<picture_path_text> picture_path(std::string_view folder, std::string_view name)
{
    constexpr std::string_view suffix = ".png";
    if (folder.size() + name.size() + suffix.size() >= picture_path_size_bytes)
        return std::nullopt;
    picture_path_text path{};
    auto* end = std::ranges::copy(folder, path.begin()).out;
    end = std::ranges::copy(name, end).out;
    std::ranges::copy(suffix, end);
    return path;
}

char* brandToLogo(const char* brand, std::string_view folder)
{
    auto path = brand != nullptr ? picture_path(folder, brand) : std::nullopt;
    if (!path)
        return nullptr;
    std::transform(path->begin() + folder.size(), path->end(), path->begin() + folder.size(), ascii_lower);
    return access(path->data(), R_OK) == 0 ? copy_text(path->data()) : nullptr;
}
