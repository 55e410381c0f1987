#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// A file written through a buffer that lies in shared memory, so that another process can write out
/// what is left when the first one ends without notice. The descriptor is the caller's.
struct output_file {
    int descriptor = -1; ///< negative: nothing is written
    int error = 0;       ///< `errno` of the first failed write; nothing is written behind it
    std::size_t used = 0;
    std::array<std::uint8_t, 188UL * 512> bytes{};
};

void append(output_file& file, std::span<const std::uint8_t> bytes);
void flush(output_file& file);
