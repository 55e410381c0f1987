#include "resources.h"

#include "text.h"

#include <algorithm>
#include <unistd.h>

namespace {

constexpr std::string_view logo_suffix = ".png";

} // namespace

std::optional<logo_path_text> logo_path(std::string_view brand, std::string_view directory)
{
    if (directory.size() + brand.size() + logo_suffix.size() >= logo_path_size_bytes)
        return std::nullopt;
    logo_path_text path{};
    auto* end = std::ranges::copy(directory, path.begin()).out;
    end = std::ranges::transform(brand, end, ascii_lower).out;
    std::ranges::copy(logo_suffix, end);
    return path;
}

char* brandToLogo(const char* brand)
{
    return find_logo(brand, resources_directory);
}

char* find_logo(const char* brand, std::string_view directory)
{
    if (brand == nullptr)
        return nullptr;
    const auto path = logo_path(brand, directory);
    if (!path || access(path->data(), R_OK) != 0)
        return nullptr;
    return copy_text(path->data());
}
