#include "encoder.h"
#include "palette.h"
#include "plain_encoder.h"
#include "plain_palette.h"

#include <array>
#include <cstdio>
#include <string_view>

// One kernel on a picture written by `dump_pictures`, on a machine that has nothing but the C++ library:
// kernel OPERATION FILE plain|fast. For its instructions take those of "load" from "convert", and those of
// "palettise", which is "convert" fast, from "encode".

namespace {

/// Null when the file cannot be read.
subpicture* read_picture(const char* path)
{
    std::FILE* const file = std::fopen(path, "rb");
    std::array<std::uint32_t, 2> size{};
    if (file == nullptr || std::fread(size.data(), sizeof size, 1, file) != 1)
        return nullptr;
    subpicture* const page = subpicture_New(1, 720, 576);
    page->regions = subpicture_region_New({.chroma = chroma_yuva, .width = size[0], .height = size[1]});
    const std::size_t plane_bytes = std::size_t{size[0]} * size[1];
    return std::fread(page->regions->picture->buffer, plane_bytes, plane_total, file) == plane_total
        ? page
        : nullptr;
}

bool run(std::string_view operation, subpicture* page, bool plainly)
{
    if (operation == "load")
        return true;
    if (operation == "convert")
        return (plainly ? plain::YuvaYuvp(page) : YuvaYuvp(page)) != nullptr;
    if (YuvaYuvp(page) == nullptr || operation == "palettise")
        return operation == "palettise";
    encoder* const state = OpenEncoder();
    return operation == "encode" && (plainly ? plain::Encode(state, page) : Encode(state, page)) != nullptr;
}

} // namespace

int main(int count, char** arguments)
{
    subpicture* const page = count == 4 ? read_picture(arguments[2]) : nullptr;
    return page != nullptr && run(arguments[1], page, std::string_view(arguments[3]) == "plain") ? 0 : 1;
}
