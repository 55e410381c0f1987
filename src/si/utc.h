#pragma once

#include <array>
#include <cstdint>
#include <ctime>

#ifndef TSINSERTD_32_BIT_TIME
static_assert(sizeof(std::time_t) >= 8, "TDT and TOT would end in January 2038: see TSINSERTD_32_BIT_TIME");
#endif

/// UTC time as the tables carry it (EN 300 468, Annex C): 16-bit Modified Julian Date, then hours,
/// minutes and seconds in two BCD digits each. Reads the date and the time of day of `utc` alone.
[[nodiscard]] std::array<std::uint8_t, 5> utc_field(const std::tm& utc);

/// The current moment in UTC.
[[nodiscard]] std::tm utc_now();
