#include "tdt_tot.h"

#include "moment.h"
#include "section_bytes.h"
#include "utc.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr std::tm example = moment(2025, 11, 18, 14, 5, 9);

TEST(Tdt, CarriesTheTimeAndNoCrc)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return write_tdt(table.data, example); }),
        ElementsAre(0x70, 0x70, 0x05, 0xEE, 0x45, 0x14, 0x05, 0x09));
}

TEST(Tot, CarriesTheTimeAndTheOffsetOfOneCountry)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return write_tot(table.data, example); }),
        ElementsAreArray<std::uint8_t>({
            0x73, 0x70, 0x1A,                         // table_id, section_length
            0xEE, 0x45, 0x14, 0x05, 0x09,             // UTC_time
            0xF0, 0x0F, 0x58, 0x0D,                   // descriptors_loop_length, local_time_offset_descriptor
            'F', 'R', 'A', 0x02, 0x00, 0x01,          // country, region, local_time_offset
            0xD8, 0xCC, 0x01, 0x00, 0x00, 0x00, 0x02, // time_of_change, next_time_offset
            0x5A, 0x75, 0xE3, 0xB6,                   // CRC_32
        }));
}

TEST(TdtTot, CarryTheCurrentTime)
{
    for (const auto& create : {create_tdt_table, create_tot_table}) {
        const auto before = utc_field(utc_now());
        const auto section = section_of(create);
        const auto after = utc_field(utc_now());
        std::array<std::uint8_t, 5> utc_time{};
        std::copy_n(section.begin() + 3, utc_time.size(), utc_time.begin());
        EXPECT_LE(before, utc_time);
        EXPECT_LE(utc_time, after);
    }
    expect_sound(section_of(create_tot_table));
}

} // namespace
