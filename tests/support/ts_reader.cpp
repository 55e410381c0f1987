#include "ts_reader.h"

#include "temporary.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr unsigned packet_size = 188;

struct pid_state {
    int last_counter = -1;
    bool in_unit = false;
    byte_string collected;
};

bool is_pes(const byte_string& unit)
{
    return unit.size() >= 3 && unit[0] == 0 && unit[1] == 0 && unit[2] == 1;
}

/// A unit ends where its length says; behind a section, only stuffing follows.
void take_unit(ts_content& content, std::uint16_t pid, pid_state& state)
{
    const byte_string& unit = state.collected;
    if (unit.size() < 4)
        return;
    const bool pes = is_pes(unit);
    const std::size_t begin = pes ? 0 : 1U + unit[0];
    const std::size_t length_at = begin + (pes ? 4 : 1);
    if (unit.size() < length_at + 2)
        return;
    const auto length = static_cast<unsigned>(unit[length_at] << 8 | unit[length_at + 1]);
    const std::size_t end = length_at + 2 + (pes ? length : length & 0x0FFF);
    if (unit.size() < end)
        return;
    content.units.push_back({pid, byte_string(unit.data() + begin, unit.data() + end)});
    for (std::size_t i = end; i < unit.size(); ++i)
        if (pes || unit[i] != 0xFF)
            content.complaints.emplace_back("bytes behind the end of a section or PES packet");
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

    const std::size_t begin = std::min(has_adaptation_field ? 5U + packet[4] : 4U, packet_size);
    if ((packet[1] & 0x40) != 0) {
        state.in_unit = true;
        state.collected.clear();
    }
    if (!state.in_unit)
        return;
    state.collected.insert(state.collected.end(), packet + begin, packet + packet_size);
    take_unit(content, pid, state);
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

ts_content read_stream(const std::filesystem::path& path)
{
    const std::string text = read_file(path);
    const byte_string packets(text.begin(), text.end());
    ts_content content;
    std::map<std::uint16_t, pid_state> states;
    if (packets.size() % packet_size != 0)
        content.complaints.emplace_back("not a whole number of packets");
    for (std::size_t at = 0; at + packet_size <= packets.size(); at += packet_size)
        read_packet(content, states, packets.data() + at);
    return content;
}
