#include "kernels.h"

#include "palette.h"
#include "pixel_lines.h"
#include "plain_conversion.h"
#include "plain_pixel_lines.h"

#include <array>
#include <cstdlib>

namespace {

void require(bool done)
{
    if (!done)
        std::abort();
}

void code_pixels(const subpicture_region& region, bool plainly)
{
    std::array<std::uint8_t, 64'000> buffer;
    bit_writer out;
    bs_init(out, buffer.data(), buffer.size());
    for (const std::uint8_t top : {std::uint8_t{1}, std::uint8_t{0}}) {
        if (plainly)
            plain::write_pixel_data(out, region, top);
        else
            encode_pixel_data(out, region, top);
    }
}

} // namespace

bool prepare_kernel(std::string_view kernel, subpicture& page)
{
    if (kernel == "code")
        require(YuvaYuvp(&page) != nullptr);
    return kernel == "code" || kernel == "convert";
}

void run_kernel(std::string_view kernel, subpicture& page, bool plainly)
{
    if (kernel == "code")
        code_pixels(*page.regions, plainly);
    else
        require((plainly ? plain::YuvaYuvp(&page) : YuvaYuvp(&page)) != nullptr);
}
