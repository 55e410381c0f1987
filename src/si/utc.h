#pragma once

#include <array>
#include <cstdint>
#include <ctime>

/// UTC time as the tables carry it (EN 300 468, Annex C): 16-bit Modified Julian Date, then hours,
/// minutes and seconds in two BCD digits each. Reads the date and the time of day of `utc` alone.
[[nodiscard]] std::array<std::uint8_t, 5> utc_field(const std::tm& utc);

/// The current moment in UTC.
[[nodiscard]] std::tm utc_now();
