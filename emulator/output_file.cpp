#include "output_file.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

void append(output_file& file, std::span<const std::uint8_t> bytes)
{
    if (file.descriptor < 0)
        return;
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), file.bytes.size() - file.used);
        std::copy_n(bytes.begin(), count, file.bytes.begin() + static_cast<std::ptrdiff_t>(file.used));
        file.used += count;
        bytes = bytes.subspan(count);
        if (file.used == file.bytes.size())
            flush(file);
    }
}

void flush(output_file& file)
{
    std::size_t written = 0;
    while (file.descriptor >= 0 && file.error == 0 && written < file.used) {
        const ssize_t count = write(file.descriptor, file.bytes.data() + written, file.used - written);
        if (count < 0 && errno != EINTR)
            file.error = errno;
        else if (count > 0)
            written += static_cast<std::size_t>(count);
    }
    file.used = 0;
}
