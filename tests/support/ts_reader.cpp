#include "ts_reader.h"

#include "temporary.h"

#include <sstream>

namespace {

constexpr std::size_t packet_size = 188;

struct pid_state {
    int last_counter = -1;
    bool in_unit = false;
    byte_string collected;
};

bool is_pes(const byte_string& unit)
{
    return unit.size() >= 3 && unit[0] == 0 && unit[1] == 0 && unit[2] == 1;
}

/// A PES packet ends where its length says, or where the next one begins when it says 0.
void take_pes(ts_content& content, std::uint16_t pid, pid_state& state)
{
    if (state.collected.size() < 6)
        return;
    const std::size_t length = static_cast<std::size_t>(state.collected[4]) << 8 | state.collected[5];
    if (length == 0 || state.collected.size() < length + 6)
        return;
    if (state.collected.size() > length + 6)
        content.complaints.emplace_back("bytes behind the end of a PES packet");
    content.pes_packets.push_back({pid, state.collected});
    state.in_unit = false;
}

void take_section(ts_content& content, std::uint16_t pid, pid_state& state)
{
    if (state.collected.size() < 4)
        return;
    const std::size_t begin = 1U + state.collected[0];
    if (state.collected.size() < begin + 3)
        return;
    const std::size_t size =
        3 + (static_cast<std::size_t>(state.collected[begin + 1] & 0x0F) << 8 | state.collected[begin + 2]);
    if (state.collected.size() < begin + size)
        return;
    const auto* const first = state.collected.data() + begin;
    content.sections.push_back({pid, byte_string(first, first + size)});
    for (std::size_t i = begin + size; i < state.collected.size(); ++i)
        if (state.collected[i] != 0xFF)
            content.complaints.emplace_back("something else than stuffing behind a section");
    state.in_unit = false;
}

void read_packet(ts_content& content, std::map<std::uint16_t, pid_state>& states, const std::uint8_t* packet)
{
    if (packet[0] != 0x47)
        content.complaints.emplace_back("packet without sync byte");
    const auto pid = static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
    ++content.packets[pid];
    const bool has_payload = (packet[3] & 0x10) != 0;
    const bool has_adaptation_field = (packet[3] & 0x20) != 0;
    if (!has_payload || pid == 0x1FFF)
        return;

    pid_state& state = states[pid];
    const int counter = packet[3] & 0x0F;
    if (state.last_counter >= 0 && counter != (state.last_counter + 1) % 16)
        ++content.counter_errors[pid];
    state.last_counter = counter;

    const std::size_t begin = has_adaptation_field ? 5U + packet[4] : 4U;
    if (begin > packet_size) {
        content.complaints.emplace_back("adaptation field longer than its packet");
        return;
    }
    if ((packet[1] & 0x40) != 0) {
        state.in_unit = true;
        state.collected.clear();
    }
    if (!state.in_unit)
        return;
    state.collected.insert(state.collected.end(), packet + begin, packet + packet_size);
    if (is_pes(state.collected))
        take_pes(content, pid, state);
    else
        take_section(content, pid, state);
}

} // namespace

byte_string bytes_of(const std::string& hexadecimal)
{
    byte_string bytes;
    std::istringstream text(hexadecimal);
    for (unsigned value = 0; text >> std::hex >> value;)
        bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

ts_content read_packets(const byte_string& packets)
{
    ts_content content;
    std::map<std::uint16_t, pid_state> states;
    if (packets.size() % packet_size != 0)
        content.complaints.emplace_back("not a whole number of packets");
    for (std::size_t at = 0; at + packet_size <= packets.size(); at += packet_size)
        read_packet(content, states, packets.data() + at);
    return content;
}

ts_content read_stream(const std::filesystem::path& path)
{
    const std::string text = read_file(path);
    return read_packets(byte_string(text.begin(), text.end()));
}
