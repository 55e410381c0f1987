#include "bit_writer.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace {

struct field {
    std::int32_t count = 0;
    std::uint32_t value = 0;
};

/// Into a buffer of that size in front of other bytes; zero bits up to the byte boundary come behind the
/// fields.
const struct {
    const char* what;
    std::size_t size_bytes;
    std::vector<field> fields;
    std::array<std::uint8_t, 3> bytes;
    std::int32_t position;
} cases[] = {
    {"nothing to align on a boundary", 3, {{8, 0x81}, {0, 1}, {-3, 1}}, {0x81, 0xFF, 0xFF}, 8},
    {"bits above the count are ignored", 3, {{3, 0x15}}, {0xA0, 0xFF, 0xFF}, 8},
    {"a field over three bytes", 3, {{5, 0}, {12, 0xABC}}, {0x05, 0x5E, 0x00}, 24},
    {"what does not fit is dropped", 3, {{20, 0}, {32, 0xABCDEF01}}, {0x00, 0x00, 0x0A}, 24},
    {"bits above the value are zero", 3, {{40, 0xFFFFFFFF}}, {0x00, 0xFF, 0xFF}, 24},
    {"and whatever comes behind the end", 2, {{8, 1}, {8, 2}, {9, 3}}, {0x01, 0x02, 0xFF}, 16},
};

} // namespace

TEST(BitWriter, AppendsMostSignificantBitsFirst)
{
    for (const auto& [what, size_bytes, fields, bytes, position] : cases) {
        std::array<std::uint8_t, 3> buffer{0xFF, 0xFF, 0xFF};
        bit_writer out;
        bs_init(out, buffer.data(), size_bytes);
        for (const auto& [count, value] : fields)
            bs_write(out, count, value);
        bs_align_0(out);
        EXPECT_EQ(buffer, bytes) << what;
        EXPECT_EQ(bs_pos(out), position) << what;
    }
}
