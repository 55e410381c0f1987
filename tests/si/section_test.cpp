#include "section.h"

#include "nit_sdt.h"
#include "section_bytes.h"

namespace {

using testing::Each;
using testing::ElementsAre;

TEST(Section, MeasuresLengthsOfMoreThanOneByte)
{
    const auto nit = section_of([](dvb_table& table) { return write_nit(table.data, {}, {.count = 40}); });
    expect_sound(nit);
    EXPECT_THAT(std::span(nit).subspan(27, 2), ElementsAre(0xF1, 0x28)) << "loop of 7 * 40 + 16 bytes";
}

TEST(Section, DropsWhatDoesNotFit)
{
    std::array<std::uint8_t, 60> bytes{};
    for (std::int32_t room = 0; room < 56; ++room) { // a NIT has 56 bytes
        bytes.fill(0xA5);
        const auto size = static_cast<std::size_t>(room);
        EXPECT_EQ(write_nit(std::span(bytes).first(size), {}, {}), room);
        EXPECT_THAT(std::span(bytes).subspan(size), Each(0xA5)) << room;
    }
}

} // namespace
