#include "plain_conversion.h"
#include "plain_pixel_lines.h"
#include "reuse.h"

#include <cerrno>

// Put before the daemon's libraries, these make of it one that uses nothing again and encodes step by step:
// what it sends must be the same.

subpicture* YuvaYuvp(subpicture* page)
{
    return plain::YuvaYuvp(page);
}

void encode_pixel_data(bit_writer& out, const subpicture_region& region, std::uint8_t top)
{
    plain::write_pixel_data(out, region, top);
}

pixel_digest digest_of(const picture& /*source*/)
{
    return {};
}

const coded_region* find_coded_region(const coded_regions& /*encoded*/, const pixel_digest& /*pixels*/)
{
    return nullptr;
}

void insert_coded_region(coded_regions& /*encoded*/, const coded_region& /*region*/)
{
}

// An image file of which nothing is known is read each time. These take the place of `fstat` in the daemon's
// own code, under the names that 32-bit C libraries have for it, too.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
int __wrap_fstat(int /*file*/, void* /*status*/)
{
    errno = EIO;
    return -1;
}

[[gnu::alias("__wrap_fstat")]] int __wrap___fstat64_time64(int file, void* status);
[[gnu::alias("__wrap_fstat")]] int __wrap___fstat_time64(int file, void* status);
}
// NOLINTEND(bugprone-reserved-identifier)
