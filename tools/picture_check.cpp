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

const FcChar8* bytes_of(const std::string& text)
{
    return reinterpret_cast<const FcChar8*>(text.c_str());
}

bool equal_without_case(const std::string& one, const std::string& other)
{
    return FcStrCmpIgnoreCase(bytes_of(one), bytes_of(other)) == 0;
}

/// Letters of Latin-1 without their accents, which in some file names stand behind them.
std::string without_accents(const std::string& text)
{
    constexpr std::string_view plain_letters =
        "AAAAAAACEEEEIIIIDNOOOOO*OUUUUYTsaaaaaaaceeeeiiiidnooooo/ouuuuyty";
    constexpr FcChar32 first_letter = 0xC0;
    std::string plain;
    for (std::size_t at = 0; at < text.size();) {
        FcChar32 character = 0;
        const int length = FcUtf8ToUcs4(bytes_of(text) + at, &character, static_cast<int>(text.size() - at));
        const std::size_t bytes = length > 0 ? static_cast<std::size_t>(length) : 1;
        if (character >= first_letter && character - first_letter < plain_letters.size())
            plain += plain_letters[character - first_letter];
        else if (character < 0x300 || character > 0x36F) // combining accents
            plain.append(text, at, bytes);
        at += bytes;
    }
    return plain;
}

std::string trimmed(const std::string& text)
{
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::string stem_of(const std::string& name)
{
    return trimmed(name.substr(0, name.rfind('.')));
}

std::string suffix_of(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? "" : name.substr(dot);
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

bool is_picture_name(const std::string& name)
{
    constexpr std::array<std::string_view, 9> suffixes{
        ".png", ".jpg", ".jpeg", ".gif", ".bmp", ".webp", ".svg", ".tif", ".tiff"};
    return std::ranges::any_of(suffixes,
        [&](std::string_view each) { return equal_without_case(suffix_of(name), std::string(each)); });
}

std::string without_blanks(const std::string& name)
{
    return stem_of(name) + suffix_of(name);
}

std::string neighbour_of(const std::vector<std::string>& files, const std::string& name)
{
    if (std::ranges::find(files, without_blanks(name)) != files.end())
        return without_blanks(name);
    const std::string wanted = without_accents(stem_of(name));
    const auto is_meant = [&](const std::string& file) {
        const std::string stem = is_picture_name(stem_of(file)) ? stem_of(stem_of(file)) : stem_of(file);
        return is_picture_name(file) && equal_without_case(without_accents(stem), wanted);
    };
    const auto found = std::ranges::find_if(files, is_meant);
    return found == files.end() ? "" : *found;
}
