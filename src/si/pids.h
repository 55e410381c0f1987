#pragma once

#include <cstdint>

// The PIDs of the output, as the tables announce them and the packets carry them. Those of PAT, NIT, SDT,
// EIT and the time tables are given by ISO/IEC 13818-1, 2.4.4.3, and EN 300 468, 5.1.3.

namespace pids {

inline constexpr std::uint16_t pat = 0;
inline constexpr std::uint16_t nit = 16;
inline constexpr std::uint16_t sdt = 17;
inline constexpr std::uint16_t eit = 18;
inline constexpr std::uint16_t time = 20;       ///< TDT and TOT
inline constexpr std::uint16_t first_pmt = 256; ///< of service 0; service i has the i-th behind it
inline constexpr std::uint16_t pcr = 4097;
inline constexpr std::uint16_t video = 4113;
inline constexpr std::uint16_t audio = 4352;          ///< of all services
inline constexpr std::uint16_t first_subtitle = 4368; ///< of service 0; service i has the i-th behind it

} // namespace pids
