#include "usbip.h"

#include <gmock/gmock.h>

namespace {

/// A header as a capture shows it: words in the order of the network.
usbip_header header_of(std::array<std::uint32_t, usbip_header_size / 4> words)
{
    usbip_header header{};
    for (std::size_t i = 0; i < header.size(); ++i)
        header[i] = static_cast<std::uint8_t>(words[i / 4] >> (24 - 8 * (i % 4)));
    return header;
}

constexpr std::uint32_t read_status = 0xC103'0000; ///< a vendor request of one byte to the host

/// Command, sequence number, device, direction, endpoint, flags, length, three fields of isochronous
/// transfers, setup. The second is that of the protocol's own example.
const struct {
    const char* what;
    usbip_header header;
    usbip_command command;
} commands[] = {
    {"control transfer to the host",
        header_of({1, 7, 0x0001'0002, 1, 0, 0x200, 1, 0, 0, 0, read_status, 0x0000'0100}),
        {.what = usbip_command::kind::submit,
            .sequence_number = 7,
            .to_host = true,
            .length = 1,
            .setup = {0xC1, 0x03, 0, 0, 0, 0, 1, 0}}},
    {"interrupt transfer to the host",
        header_of({1, 0xD05, 0x0001'000F, 1, 1, 0x200, 0x40, 0xFFFF'FFFF, 0, 4, 0, 0}),
        {.what = usbip_command::kind::submit,
            .sequence_number = 0xD05,
            .endpoint = 1,
            .to_host = true,
            .length = 0x40}},
    {"taking a transfer back", header_of({2, 8, 0x0001'0002, 1, 0, 7}),
        {.what = usbip_command::kind::unlink, .sequence_number = 8}},
    {"an answer is no command", header_of({3, 9}), {.sequence_number = 9}},
};

} // namespace

TEST(Usbip, ReadsTheCommandsOfTheController)
{
    for (const auto& [what, header, wanted] : commands) {
        EXPECT_EQ(parse_command(header), wanted) << what;
    }
}

/// -32 is EPIPE, a stalled endpoint. A transfer that is taken back was answered before: status 0.
TEST(Usbip, AnswersInTheOrderOfTheNetwork)
{
    const usbip_command command{.sequence_number = 0x1234'5678};
    EXPECT_EQ(submit_answer(command, 0x102), header_of({3, 0x1234'5678, 0, 0, 0, 0, 0x102}));
    EXPECT_EQ(submit_answer(command, {}), header_of({3, 0x1234'5678, 0, 0, 0, 0xFFFF'FFE0}));
    EXPECT_EQ(unlink_answer(command), header_of({4, 0x1234'5678}));
}

/// The text of a controller with a port of each speed, as the kernel writes it.
TEST(Usbip, FindsTheFreePortsOfTheController)
{
    const auto ports = parse_ports("hub port sta spd dev      sockfd local_busid\n"
                                   "hs  0000 006 002 00010002 000003 1-1\n"
                                   "hs  0001 004 000 00000000 000000 0-0\n"
                                   "ss  0008 004 000 00000000 000000 0-0\n");
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_FALSE(ports[0].is_free);
    EXPECT_EQ(ports[0].device, "1-1");
    EXPECT_TRUE(ports[1].is_free);
    EXPECT_EQ(ports[1].number, 1U);
    EXPECT_TRUE(parse_ports("").empty());
}
