#pragma once

#include "dvb_table.h"

#include <cstdint>
#include <span>

struct program_association {
    std::uint32_t transport_stream_id = 0;  ///< low 16 bits
    std::uint32_t first_program_number = 0; ///< program i has this number + i, low 16 bits
    std::uint32_t program_count = 0;        ///< the PMT of program i is on PID 256 + i
};

/// Writes the program association section (ISO/IEC 13818-1, 2.4.4.3), the NIT first, to the front
/// of `out`. Returns its length, 16 bytes and 4 more for each program.
[[nodiscard]] std::int32_t write_pat(std::span<std::uint8_t> out, const program_association& programs);

struct program_streams {
    std::int32_t program_number = 0;    ///< low 16 bits
    std::int32_t audio_pid = 0;         ///< 0: no audio stream
    std::uint8_t audio_stream_type = 0; ///< stream_type of ISO/IEC 13818-1, table 2-34
    std::int32_t subtitle_pid = 0;      ///< 0: no subtitle stream
};

/// Writes the program map section (ISO/IEC 13818-1, 2.4.4.8) of one program, its video first, to the
/// front of `out`. Returns its length: 21 bytes, 5 more with audio and 15 more with subtitles.
[[nodiscard]] std::int32_t write_pmt(std::span<std::uint8_t> out, const program_streams& program);

/// Writes the PAT of the transport stream that the settings name into `table.data`; only that is
/// written. Returns the section's length in bytes.
[[nodiscard]] std::int32_t create_pat_table(
    dvb_table& table, std::uint32_t first_program_number, std::uint32_t program_count);

/// Writes one program's PMT, described by the members of `program_streams`, into `table.data`; only
/// that is written. Returns the section's length in bytes.
[[nodiscard]] std::int32_t create_pmt_table(dvb_table& table, std::int32_t program_number,
    std::int32_t audio_pid, std::uint8_t audio_stream_type, std::int32_t subtitle_pid);
