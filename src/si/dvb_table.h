#pragma once

#include <array>
#include <cstdint>

/// One section of service information, ready for transfer. The driver holds one record and builds
/// every table into it in turn, so the bytes behind `length` may be those of an earlier table.
struct dvb_table {
    std::array<std::uint8_t, 2048> data{}; ///< the section, table_id first
    std::uint32_t length = 0;              ///< bytes of the section in `data`, CRC_32 included
    std::uint32_t pid = 0;                 ///< PID of the packets that carry it, 13 bits
    std::uint8_t continuity_counter = 0;   ///< of the next packet on `pid`; its low 4 bits are sent
};
