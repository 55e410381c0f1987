#include "bit_writer.h"

#include <array>
#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;

namespace {

struct field {
    std::int32_t count = 0;
    std::uint32_t value = 0;
};

/// `aligned`: with zero bits up to the byte boundary behind the fields.
const struct {
    const char* what;
    std::vector<field> fields;
    bool aligned;
    std::array<std::uint8_t, 3> bytes;
    std::int32_t position;
} cases[] = {
    {"whole bytes", {{8, 0x20}, {8, 0}}, false, {0x20, 0x00, 0xFF}, 16},
    {"alignment writes zeros", {{3, 5}}, true, {0xA0, 0xFF, 0xFF}, 8},
    {"nothing to align on a boundary", {{8, 0x81}}, true, {0x81, 0xFF, 0xFF}, 8},
    {"bits above the count are ignored", {{4, 17}, {4, 0}}, false, {0x10, 0xFF, 0xFF}, 8},
    {"no count, no bits", {{0, 1}, {-3, 1}}, false, {0xFF, 0xFF, 0xFF}, 0},
    {"bits not yet written keep their values", {{1, 0}}, false, {0x7F, 0xFF, 0xFF}, 1},
    {"a field over three bytes", {{5, 0}, {12, 0xABC}}, false, {0x05, 0x5E, 0x7F}, 17},
    {"what does not fit is dropped", {{20, 0}, {32, 0xABCDEF01}}, false, {0x00, 0x00, 0x0A}, 24},
    {"bits above the value are zero", {{40, 0xFFFFFFFF}}, false, {0x00, 0xFF, 0xFF}, 24},
};

} // namespace

TEST(BitWriter, AppendsMostSignificantBitsFirst)
{
    for (const auto& [what, fields, aligned, bytes, position] : cases) {
        std::array<std::uint8_t, 3> buffer{0xFF, 0xFF, 0xFF};
        bit_writer out;
        bs_init(out, buffer.data(), buffer.size());
        for (const auto& [count, value] : fields)
            bs_write(out, count, value);
        if (aligned)
            bs_align_0(out);
        EXPECT_EQ(buffer, bytes) << what;
        EXPECT_EQ(bs_pos(out), position) << what;
    }
}

TEST(BitWriter, DropsWhateverComesBehindTheEnd)
{
    std::array<std::uint8_t, 3> buffer{0xFF, 0xFF, 0xFF};
    bit_writer out;
    bs_init(out, buffer.data(), 2);
    for (const std::uint32_t value : {1U, 2U, 3U})
        bs_write(out, 8, value);
    bs_align_0(out);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 0xFF));
    EXPECT_EQ(bs_pos(out), 16);
}

TEST(BitWriter, StoresSixteenBitsBigEndian)
{
    std::array<std::uint8_t, 2> bytes{};
    _SetWBE(bytes.data(), 0x1234);
    EXPECT_THAT(bytes, ElementsAre(0x12, 0x34));
}
