#include "kernels.h"

#include <array>
#include <cstdio>
#include <string_view>

// One kernel on a picture written by "measure dump", on a machine that has nothing but the C++ library:
// kernels none|convert|code FILE plain|fast. "none" only loads the picture.

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

} // namespace

int main(int count, char** arguments)
{
    subpicture* const page = count == 4 ? read_picture(arguments[2]) : nullptr;
    if (page == nullptr)
        return 1;
    const std::string_view kernel = arguments[1];
    if (prepare_kernel(kernel, *page))
        run_kernel(kernel, *page, std::string_view(arguments[3]) == "plain");
    return 0;
}
