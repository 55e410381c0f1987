#pragma once

#include "dvb_table.h"

#include <cstdint>
#include <ctime>
#include <span>

/// Writes the time and date section (EN 300 468, 5.2.5) of the moment `utc` to the front of `out`.
/// Returns its length, always 8 bytes: this table carries no CRC_32.
[[nodiscard]] std::int32_t write_tdt(std::span<std::uint8_t> out, const std::tm& utc);

/// Writes the time offset section (EN 300 468, 5.2.6) of the moment `utc`, with the offsets of one
/// country, to the front of `out`. Returns its length, always 29 bytes.
[[nodiscard]] std::int32_t write_tot(std::span<std::uint8_t> out, const std::tm& utc);

/// The same for the current moment, into `table.data`. Only that is written.
[[nodiscard]] std::int32_t create_tdt_table(dvb_table& table);
[[nodiscard]] std::int32_t create_tot_table(dvb_table& table);
