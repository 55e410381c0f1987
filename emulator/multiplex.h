#pragma once

#include "epld_model.h"
#include "output_file.h"
#include "stream_statistics.h"

#include <bitset>
#include <string>

/// The transport stream that leaves the encoder board: the encoder's packets, with those of the
/// device in place of null packets. Without an encoder stream, one is made up of null packets.
struct multiplex {
    /// Packets that carry nothing but the program clock (PCR, ISO/IEC 13818-1, 2.4.3.5).
    static constexpr std::uint16_t clock_pid = 4097;
    static constexpr std::int64_t clock_interval_us = 25'000;

    double packets_per_second = 0;                ///< of the whole stream
    std::int64_t device_interval_us = 0;          ///< shortest time between two packets of the device
    std::uint64_t encoder_packets = 0;            ///< length of the encoder stream; 0: none
    bool encoder_has_clock = false;               ///< it carries `clock_pid` itself
    std::int64_t first_clock = 0;                 ///< PCR of packet 0, in periods of 27 MHz
    std::bitset<stream_statistics::pids> dropped; ///< PIDs of the encoder's own tables

    std::uint64_t next_packet = 0;
    std::int64_t next_clock_us = 0;
    std::int64_t device_ready_us = 0;
    output_file output;
};

/// Prepares a stream without an encoder: `packet_rate` packets a second for the device, and the clock.
void use_null_packets(multiplex& stream, std::int64_t packet_rate);

/// Prepares an encoder stream of constant rate, whose packets are in `bytes`. Its own tables (PIDs 0
/// to 31 and the PMTs of its PAT) count as null packets; the device sends the tables. Its other PIDs must
/// not be those of the daemon's PMTs and subtitles. Returns an
/// empty text, or a sentence that says why the stream cannot be used.
std::string use_encoder(multiplex& stream, std::span<const std::uint8_t> bytes, std::int64_t packet_rate);

/// The end of the encoder stream.
std::int64_t encoder_end_us(const multiplex& stream);

/// Sends everything up to and including `until_us`, and leaves the device at that time. `encoder` are
/// the bytes given to `use_encoder`.
void run_multiplex(multiplex& stream, std::span<const std::uint8_t> encoder, epld_model& device,
    stream_statistics& statistics, std::int64_t until_us);
