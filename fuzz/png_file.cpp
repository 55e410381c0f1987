#include "png_file.h"

#include "input.h"

namespace {

constexpr std::size_t signature_bytes = 8;
constexpr std::size_t chunk_overhead = 12; ///< length, type and checksum

/// The CRC of ISO/IEC 15948, 5.5.
std::uint32_t checksum(std::span<const std::uint8_t> bytes)
{
    std::uint32_t remainder = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        remainder ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~remainder;
}

} // namespace

std::string with_checksums(std::span<const std::uint8_t> file)
{
    std::string mended(text_of(file));
    auto rest = file.subspan(std::min(signature_bytes, file.size()));
    while (rest.size() >= chunk_overhead) {
        auto field = rest;
        const std::size_t length = take_u32(field);
        if (length > rest.size() - chunk_overhead)
            break;
        const std::uint32_t sum = checksum(rest.subspan(4, length + 4));
        const std::size_t at = file.size() - rest.size() + length + 8;
        for (std::size_t i = 0; i < 4; ++i)
            mended[at + i] = static_cast<char>(sum >> (24 - 8 * i));
        rest = rest.subspan(length + chunk_overhead);
    }
    return mended;
}
