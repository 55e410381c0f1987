#include "kernels.h"

#include "palette.h"
#include "pixel_lines.h"
#include "plain_conversion.h"
#include "plain_pixel_lines.h"

#include <cstdlib>
#include <vector>

namespace {

void require(bool done)
{
    if (!done)
        std::abort();
}

void code_pixels(const subpicture_region& region, std::vector<std::uint8_t>& buffer, bool plainly)
{
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

extern "C" [[gnu::noinline]] void counted_work(const std::function<void()>& work)
{
    work();
}

bool count_kernel(std::string_view kernel, subpicture& page, bool plainly)
{
    if (kernel == "convert") {
        counted_work([&] { require((plainly ? plain::YuvaYuvp(&page) : YuvaYuvp(&page)) != nullptr); });
        return true;
    }
    if (kernel != "code")
        return false;
    require(YuvaYuvp(&page) != nullptr);
    std::vector<std::uint8_t> buffer(64'000);
    counted_work([&] { code_pixels(*page.regions, buffer, plainly); });
    return true;
}
