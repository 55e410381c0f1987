#include "utc.h"

namespace {

/// Low 16 bits of the Modified Julian Date, by the formula of EN 300 468, Annex C. In 64 bits no
/// year that a `tm` can hold overflows.
std::uint16_t modified_julian_date(const std::tm& utc)
{
    const std::int64_t month = std::int64_t{utc.tm_mon} + 1;
    const std::int64_t late_winter = month <= 2 ? 1 : 0; // January and February end the year before
    const auto year_days = static_cast<std::int64_t>(static_cast<double>(utc.tm_year - late_winter) * 365.25);
    const auto month_days =
        static_cast<std::int64_t>(static_cast<double>(month + 1 + 12 * late_winter) * 30.6001);
    return static_cast<std::uint16_t>(14956 + utc.tm_mday + year_days + month_days);
}

std::uint8_t two_bcd_digits(int value)
{
    return static_cast<std::uint8_t>(value / 10 * 16 + value % 10);
}

} // namespace

std::array<std::uint8_t, 5> utc_field(const std::tm& utc)
{
    const std::uint16_t date = modified_julian_date(utc);
    return {
        static_cast<std::uint8_t>(date >> 8),
        static_cast<std::uint8_t>(date),
        two_bcd_digits(utc.tm_hour),
        two_bcd_digits(utc.tm_min),
        two_bcd_digits(utc.tm_sec),
    };
}

std::tm utc_now()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    return utc;
}
