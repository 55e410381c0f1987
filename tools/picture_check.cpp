#include "picture_check.h"

#include "handles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fontconfig/fontconfig.h>
#include <string_view>
#include <system_error>

namespace {

using namespace std::string_view_literals;

constexpr struct {
    std::size_t offset;
    std::string_view bytes;
    const char* kind;
} signatures[] = {
    {0, "\xFF\xD8\xFF"sv, "a JPEG picture"},
    {0, "\x89PNG"sv, "a PNG picture that is damaged or incomplete"},
    {0, "GIF8"sv, "a GIF picture"},
    {0, "BM"sv, "a BMP picture"},
    {8, "WEBP"sv, "a WebP picture"},
    {4, "ftyp"sv, "an AVIF or HEIC picture"},
    {0, "II*\0"sv, "a TIFF picture"},
    {0, "MM\0*"sv, "a TIFF picture"},
    {0, "<svg"sv, "an SVG drawing"},
    {0, "<?xml"sv, "an SVG drawing or another XML file"},
};

bool equal_without_case(const std::string& one, const std::string& other)
{
    return FcStrCmpIgnoreCase(
               reinterpret_cast<const FcChar8*>(one.c_str()), reinterpret_cast<const FcChar8*>(other.c_str()))
        == 0;
}

/// The name without its suffix and the blanks around it.
std::string stem_of(const std::string& name)
{
    const std::string stem = name.substr(0, name.rfind('.'));
    const std::size_t begin = std::min(stem.find_first_not_of(' '), stem.size());
    return stem.substr(begin, stem.find_last_not_of(' ') + 1 - begin);
}

} // namespace

std::vector<std::string> files_in(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error))
        names.push_back(each->path().filename().string());
    std::ranges::sort(names);
    return names;
}

std::string kind_of_file(const std::string& path)
{
    const owned_file file(std::fopen(path.c_str(), "rb"));
    if (!file)
        return "a file that cannot be read";
    std::array<char, 16> bytes{};
    const std::string_view head(bytes.data(), std::fread(bytes.data(), 1, bytes.size(), file.get()));
    if (head.empty())
        return "an empty file";
    const auto* const found = std::ranges::find_if(signatures, [&](const auto& each) {
        return head.size() > each.offset && head.substr(each.offset).starts_with(each.bytes);
    });
    return found == std::end(signatures) ? "no picture" : found->kind;
}

std::string neighbour_of(const std::vector<std::string>& files, const std::string& name)
{
    constexpr std::array<std::string_view, 9> suffixes{
        ".png", ".jpg", ".jpeg", ".gif", ".bmp", ".webp", ".svg", ".tif", ".tiff"};
    const auto is_meant = [&](const std::string& file) {
        const std::size_t dot = file.rfind('.');
        const std::string suffix = dot == std::string::npos ? "" : file.substr(dot);
        return equal_without_case(stem_of(file), stem_of(name))
            && std::ranges::any_of(suffixes,
                [&](std::string_view each) { return equal_without_case(suffix, std::string(each)); });
    };
    const auto found = std::ranges::find_if(files, is_meant);
    return found == files.end() ? "" : *found;
}
