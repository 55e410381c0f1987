#pragma once

#include <cstdint>

/// CRC_32 of ISO/IEC 13818-1, Annex A, over `count` bytes: 0xFFFFFFFF when there are none or `count`
/// is negative, 0 over a whole section that ends in its own CRC_32. For the builders of this folder.
[[nodiscard]] std::uint32_t crc32(const std::uint8_t* bytes, std::int32_t count);
