#pragma once

#include <ctime>

/// A moment such as "2026-11-18 14:05:09".
inline std::tm moment(const char* utc)
{
    std::tm fields{};
    strptime(utc, "%Y-%m-%d %H:%M:%S", &fields);
    return fields;
}
