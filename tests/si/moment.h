#pragma once

#include <ctime>

/// A moment as a calendar and a clock show it: full year, month from 1.
constexpr std::tm moment(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    std::tm utc{};
    utc.tm_year = year - 1900;
    utc.tm_mon = month - 1;
    utc.tm_mday = day;
    utc.tm_hour = hour;
    utc.tm_min = minute;
    utc.tm_sec = second;
    return utc;
}
