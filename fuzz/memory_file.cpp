#include "memory_file.h"

#include "input.h"

#include <sys/mman.h>
#include <unistd.h>

memory_file new_memory_file()
{
    const int descriptor = memfd_create("input", 0);
    require(descriptor >= 0);
    return {.descriptor = descriptor, .path = "/proc/self/fd/" + std::to_string(descriptor)};
}

void fill(const memory_file& file, std::string_view content)
{
    require(ftruncate(file.descriptor, 0) == 0);
    require(
        pwrite(file.descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
}
