#include "shop_files.h"
#include "slot_loads.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <map>
#include <set>

using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Multi-service operation: what the daemon sends, in which order, and with which requests.

namespace {

constexpr std::uint16_t time_pid = 20;
constexpr std::uint16_t first_subtitle_pid = 4368;
constexpr std::size_t payload_size = 184;

/// "D0": display set of service 0, "R1": refresh of service 1, "TDT" and "TOT".
struct sent_unit {
    std::string name;
    double time_s = 0;
};

std::uint16_t pid_of(const byte_string& packet)
{
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

/// The page composition comes first; its page_state (ETSI EN 300 743, 7.2.2) is "mode change" in a display
/// set and "normal case" in a refresh.
std::string name_of_pes(std::uint16_t pid, const byte_string& pes)
{
    constexpr std::size_t page_state_at = 14 + 9;
    const int page_state = pes.size() > page_state_at ? pes[page_state_at] >> 2 & 3 : -1;
    return (page_state == 2 ? "D" : page_state == 0 ? "R" : "?") + std::to_string(pid - first_subtitle_pid);
}

byte_string payload_of(const slot_load& load)
{
    byte_string payload;
    for (const byte_string& packet : load.packets) {
        const auto end = &packet == &load.packets.back() ? packet.begin() + load.last_size : packet.end();
        payload.insert(payload.end(), packet.begin() + 4, end);
    }
    return payload;
}

/// Headers of the packets: one PID, counters that run on, a unit begun by the first one or by none.
void expect_packet_headers(const slot_load& load, bool begins, std::map<std::uint16_t, unsigned>& counters)
{
    const std::uint16_t pid = pid_of(load.packets.front());
    for (std::size_t i = 0; i < load.packets.size(); ++i) {
        const unsigned start = begins && i == 0 ? 0x40 : 0;
        const byte_string header{0x47, static_cast<std::uint8_t>(start | pid >> 8),
            static_cast<std::uint8_t>(pid), static_cast<std::uint8_t>(0x10 | counters[pid]++ % 16)};
        ASSERT_EQ(byte_string(load.packets[i].begin(), load.packets[i].begin() + 4), header) << load.time_s;
    }
}

/// Puts the units together again. Each load carries as much of one unit as it can.
void take_units(const std::vector<slot_load>& loads, std::size_t packets_max, std::vector<sent_unit>& units)
{
    std::map<std::uint16_t, unsigned> counters;
    byte_string pes;
    std::size_t left = 0;
    for (const slot_load& load : loads) {
        const bool begins = left == 0;
        ASSERT_NO_FATAL_FAILURE(expect_packet_headers(load, begins, counters));
        const std::uint16_t pid = pid_of(load.packets.front());
        const byte_string payload = payload_of(load);
        ASSERT_EQ(load.whole_header, pid == time_pid) << load.time_s;
        ASSERT_EQ(load.type, begins && pid != time_pid ? 0x87U : 0x83U) << load.time_s;
        if (begins)
            units.push_back({.name = payload[1] == 0x70 ? "TDT" : "TOT", .time_s = load.time_s});
        if (pid == time_pid)
            continue;
        if (begins) {
            ASSERT_GT(payload.size(), 14U) << load.time_s;
            pes.clear();
            left = 6 + static_cast<std::size_t>(payload[4] << 8 | payload[5]);
        }
        ASSERT_EQ(load.packets.size(), std::min((left + payload_size - 1) / payload_size, packets_max))
            << load.time_s;
        ASSERT_EQ(payload.size(), std::min(left, packets_max * payload_size)) << load.time_s;
        pes.insert(pes.end(), payload.begin(), payload.end());
        left -= payload.size();
        units.back().name = name_of_pes(pid, pes);
    }
}

std::vector<std::string> cycle_of(int services)
{
    std::vector<std::string> names;
    for (int shown = 0; shown < services; ++shown) {
        names.push_back("D" + std::to_string(shown));
        for (int other = 0; other < services; ++other)
            if (other != shown)
                names.push_back("R" + std::to_string(other));
    }
    return names;
}

/// What is to be sent in the time that these units took: cycles, and behind the first of them and behind
/// each that ends 20 seconds (of the clock) after the last time a TDT and a TOT.
std::vector<std::string> names_to_send(const std::vector<sent_unit>& units, int services)
{
    std::vector<std::string> names;
    double refreshed_s = -20;
    while (names.size() < units.size()) {
        const auto cycle = cycle_of(services);
        names.insert(names.end(), cycle.begin(), cycle.end());
        if (names.size() < units.size() && std::floor(units[names.size()].time_s) >= refreshed_s + 20) {
            refreshed_s = std::floor(units[names.size()].time_s);
            names.insert(names.end(), {"TDT", "TOT"});
        }
    }
    names.resize(units.size());
    return names;
}

void expect_sound_pes(const ts_unit& pes)
{
    const std::size_t length = pes.bytes.size() - 6;
    const byte_string header{0x00, 0x00, 0x01, 0xBD, static_cast<std::uint8_t>(length >> 8),
        static_cast<std::uint8_t>(length), 0x85, 0x80, 0x05, 0x21, 0x00, 0x01, 0x00, 0x01};
    EXPECT_EQ(byte_string(pes.bytes.begin(), pes.bytes.begin() + 14), header);
    EXPECT_EQ(pes.bytes[14], 0x20);    // data_identifier
    EXPECT_EQ(pes.bytes.back(), 0xFF); // end_of_PES_data_field_marker
}

/// What leaves the board: the same units, each service's always the same two.
void expect_stream(const std::string& path, const std::vector<sent_unit>& units, int services)
{
    const ts_content content = read_stream(path);
    EXPECT_THAT(content.complaints, IsEmpty());
    EXPECT_THAT(content.counter_errors, IsEmpty());
    std::map<std::string, byte_string> first;
    std::size_t next = 0;
    for (const ts_unit& pes : content.pes_packets) {
        const std::string name = name_of_pes(pes.pid, pes.bytes);
        while (next < units.size() && units[next].name.starts_with("T"))
            ++next;
        ASSERT_LT(next, units.size());
        ASSERT_EQ(name, units[next++].name);
        if (first.try_emplace(name, pes.bytes).second)
            expect_sound_pes(pes);
        ASSERT_EQ(pes.bytes, first[name]) << name;
    }
    EXPECT_EQ(first.size(), 2U * static_cast<unsigned>(services));
    EXPECT_GE(next + 3, units.size()); // all but those in the two slots
}

/// Collects what the runs are to show at least once: slots that were waited for, and TDTs in both.
void note_special(const std::vector<slot_load>& loads, std::set<std::string>& seen)
{
    for (const slot_load& load : loads) {
        const std::string slot = "slot " + std::to_string(load.slot);
        if (load.busy_polls > 1)
            seen.insert(slot + " busy");
        if (load.acknowledgement_polls > 1)
            seen.insert(slot + " armed late");
        if (load.whole_header && load.packets[0][5] == 0x70)
            seen.insert("TDT in " + slot);
    }
}

struct streaming_case {
    int services;
    std::size_t packets_max; ///< of a load: what the tables leave room for, at most 8
    std::vector<std::string> options;
};

} // namespace

TEST(Streaming, SendsEachDisplaySetAndTheOthersRefreshesForEver)
{
    const streaming_case cases[] = {
        {2, 8, {"--duration", "45", "--packet-rate", "150", "--bus-clock", "0"}}, // each wait is needed
        {3, 8, {"--duration", "45"}},
        {40, 7, {"--duration", "45", "--bus-clock", "800000", "--packet-rate", "3000"}},
    };
    std::set<std::string> special;
    for (const auto& [services, packets_max, options] : cases) {
        const temporary_folder folder;
        write_shop(folder, services);
        const std::string stream = (folder.path / "stream.ts").string();
        const run_result result = run_daemon_emulated(shop_run(folder, options), stream);
        ASSERT_EQ(result.emulator_status, 0) << services << result.summary << result.errors;

        load_list read = read_loads(result.requests);
        ASSERT_EQ(read.complaint, "") << services;
        ASSERT_GT(read.loads.size(), 100U) << services;
        read.loads.pop_back(); // may have no end
        std::vector<sent_unit> units;
        ASSERT_NO_FATAL_FAILURE(take_units(read.loads, packets_max, units)) << services;
        const auto names = names_to_send(units, services);
        for (std::size_t i = 0; i < units.size(); ++i)
            ASSERT_EQ(units[i].name, names[i]) << services << " " << i;
        EXPECT_GE(std::count(names.begin(), names.end(), "D1"), 3) << services;
        EXPECT_GE(std::count(names.begin(), names.end(), "TOT"), 2) << services;
        ASSERT_NO_FATAL_FAILURE(expect_stream(stream, units, services)) << services;
        note_special(read.loads, special);
    }
    EXPECT_THAT(special,
        UnorderedElementsAre(
            "slot 0 busy", "slot 1 busy", "slot 0 armed late", "TDT in slot 0", "TDT in slot 1"));
}
