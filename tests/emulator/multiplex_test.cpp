#include "multiplex.h"

#include "temporary.h"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <unistd.h>

namespace {

using packet_bytes = std::vector<std::uint8_t>;

packet_bytes packet(std::uint16_t pid, packet_bytes begin)
{
    packet_bytes bytes(188, 0xFF);
    bytes[0] = 0x47;
    bytes[1] = static_cast<std::uint8_t>(pid >> 8);
    bytes[2] = static_cast<std::uint8_t>(pid);
    std::copy(begin.begin(), begin.end(), bytes.begin() + 3);
    return bytes;
}

/// A packet with a PCR of `milliseconds` (33 bits of 90 kHz, six reserved ones, extension 0).
packet_bytes clock_packet(std::uint16_t pid, std::uint32_t milliseconds)
{
    const std::uint64_t field = static_cast<std::uint64_t>(milliseconds) * 90 << 15 | 0x7E00;
    packet_bytes begin{0x20, 183, 0x10};
    for (int shift = 40; shift >= 0; shift -= 8)
        begin.push_back(static_cast<std::uint8_t>(field >> shift));
    return packet(pid, begin);
}

/// A second of a stream of 1000 packets a second: video with its clock, a PAT and a PMT of its own,
/// nine null packets out of ten.
packet_bytes encoder_stream()
{
    packet_bytes pat = packet(0, {0x10, 0, 0x00, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, 0xE1, 0x23, 1, 2, 3, 4});
    pat[1] |= 0x40;
    packet_bytes bytes;
    for (std::uint32_t number = 0; number < 1000; ++number) {
        const packet_bytes next = number % 100 == 0 ? clock_packet(4113, 5000 + number)
            : number % 100 == 10                    ? pat
                                                    : packet(number % 100 == 20 ? 0x123 : 0x1FFF, {0x10});
        bytes.insert(bytes.end(), next.begin(), next.end());
    }
    return bytes;
}

/// A device whose only table, a PAT, is repeated every 100 ms.
epld_model repeating_device()
{
    epld_model device;
    const std::array<std::uint8_t, 5> header{0x91, 1, 0, 30, 0};
    std::copy(header.begin(), header.end(), device.memory.begin());
    const std::array<std::uint8_t, 8> section{0x47, 0x40, 0, 0x10, 0, 0x00, 0xB0, 22};
    std::copy(section.begin(), section.end(), device.memory.begin() + 32);
    EXPECT_TRUE(device_write_byte(device, 0, 0x10));
    return device;
}

/// The packets of each PID in the stream that leaves the board in `until_us`.
std::map<unsigned, int> send(multiplex& stream, std::span<const std::uint8_t> encoder, std::int64_t until_us,
    stream_statistics& statistics)
{
    const temporary_folder folder;
    const auto path = folder.path / "stream.ts";
    stream.output.descriptor = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    epld_model device = repeating_device();
    run_multiplex(stream, encoder, device, statistics, until_us / 2);
    run_multiplex(stream, encoder, device, statistics, until_us);
    flush(stream.output);
    close(stream.output.descriptor);
    const std::string written = read_file(path);
    const packet_bytes sent(written.begin(), written.end());
    EXPECT_EQ(sent.size() % 188, 0U);
    EXPECT_EQ(counter_errors(statistics), 0U);
    std::map<unsigned, int> packets;
    for (std::size_t at = 0; at < sent.size(); at += 188) {
        EXPECT_EQ(sent[at], 0x47);
        ++packets[(sent[at + 1] & 0x1FU) << 8 | sent[at + 2]];
    }
    return packets;
}

} // namespace

TEST(Multiplex, FillsAStreamOfItsOwnWithClockAndNullPackets)
{
    const auto stream = std::make_unique<multiplex>();
    const auto statistics = std::make_unique<stream_statistics>();
    use_null_packets(*stream, 1000);
    auto packets = send(*stream, {}, 999'000, *statistics);
    EXPECT_EQ(packets[0], 10);
    EXPECT_EQ(packets[4097], 40);
    EXPECT_NEAR(packets[0x1FFF], 1040 - 10 - 40, 2);
}

TEST(Multiplex, ReplacesTheNullPacketsAndTablesOfAnEncoder)
{
    const packet_bytes encoder = encoder_stream();
    const auto stream = std::make_unique<multiplex>();
    const auto statistics = std::make_unique<stream_statistics>();
    ASSERT_EQ(use_encoder(*stream, encoder, 1000), "");
    EXPECT_NEAR(static_cast<double>(encoder_end_us(*stream)), 1e6, 1);
    auto packets = send(*stream, encoder, 2'000'000, *statistics);
    EXPECT_EQ(packets[4113], 10);
    EXPECT_EQ(packets[0x123], 0); // the encoder's own PMT
    EXPECT_EQ(packets[4097], 40); // its clock, where the PMTs of the device point
    EXPECT_EQ(packets[0], 10);    // the device's
    EXPECT_EQ(packets[0x1FFF], 1000 - 10 - 40 - 10);
}

TEST(Multiplex, RefusesWhatIsNoEncoderStream)
{
    packet_bytes extended = clock_packet(0x100, 0);
    std::ranges::copy(clock_packet(0x100, 1000), std::back_inserter(extended));
    extended[5] = extended[188 + 5] = 0x01; // adaptation_field_extension_flag, and no clock
    packet_bytes no_sync = encoder_stream();
    no_sync[188] = 0;
    const auto stream = std::make_unique<multiplex>();
    for (const packet_bytes& no_clock : {packet_bytes{}, packet(0x1FFF, {0x10}), extended})
        EXPECT_THAT(use_encoder(*stream, no_clock, 1000), testing::HasSubstr("no program clock"));
    EXPECT_THAT(use_encoder(*stream, no_sync, 1000), testing::HasSubstr("packet 1 has no sync byte"));
}
