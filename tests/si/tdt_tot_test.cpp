#include "tdt_tot.h"

#include "section_bytes.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const std::tm example = moment("2025-11-18 14:05:09");

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

} // namespace
