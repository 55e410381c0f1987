#include "section.h"

#include "section_bytes.h"

#include <array>

namespace {

using testing::Each;
using testing::ElementsAre;

TEST(Section, MeasuresLengthsOfMoreThanOneByte)
{
    const auto section = section_of([](dvb_table& table) {
        byte_cursor out{.bytes = table.data};
        begin_short_section(out, 0x73);
        const length_field loop = begin_loop(out, loop_flags::running);
        for (int i = 0; i < 0x234; ++i)
            put_u8(out, 0);
        end_length(out, loop);
        return end_section(out);
    });
    ASSERT_EQ(section.size(), 3 + 2 + 0x234U);
    EXPECT_THAT(std::span(section).first(5), ElementsAre(0x73, 0x72, 0x36, 0x82, 0x34));
}

TEST(Section, WritesOnlyTheBitsOfEachField)
{
    const auto section = section_of([](dvb_table& table) {
        byte_cursor out{.bytes = table.data};
        begin_long_section(out, {.table_id = 0x140, .table_id_extension = 70000, .version = 33});
        put_pid(out, 0x12345);
        return end_section(out);
    });
    EXPECT_THAT(section, ElementsAre(0x40, 0xF0, 0x07, 0x11, 0x70, 0xC3, 0x00, 0x00, 0xE3, 0x45));
}

/// Every field at least once, nested, with a CRC_32.
std::int32_t write_sample(std::span<std::uint8_t> bytes)
{
    byte_cursor out{.bytes = bytes};
    begin_long_section(out, {.table_id = 0x40});
    const length_field loop = begin_loop(out);
    const length_field descriptor = begin_descriptor(out, 0x40);
    put_counted_text(out, "name");
    end_length(out, descriptor);
    end_length(out, loop);
    return end_section_with_crc(out);
}

TEST(Section, DropsWhatDoesNotFit)
{
    std::array<std::uint8_t, 32> bytes{};
    const std::int32_t whole = write_sample(bytes);
    for (std::int32_t room = 0; room < whole; ++room) {
        const auto size = static_cast<std::size_t>(room);
        bytes.fill(0xA5);
        EXPECT_EQ(write_sample(std::span(bytes).first(size)), room);
        EXPECT_THAT(std::span(bytes).subspan(size), Each(0xA5)) << room;
    }
}

} // namespace
