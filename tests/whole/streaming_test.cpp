#include "slot_loads.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <set>

using testing::IsEmpty;

// Multi-service operation: what the daemon sends, in which order, and with which requests.

namespace {

constexpr int time_pid = 20;
constexpr int first_subtitle_pid = 4368;
constexpr std::size_t payload_size = 184;

/// "D0": display set of service 0, "R1": refresh of service 1, "TDT" and "TOT".
struct sent_unit {
    std::string name;
    double time_s = 0;
    byte_string bytes{}; ///< of a PES packet
};

int pid_of(const byte_string& packet)
{
    return (packet[1] & 0x1F) << 8 | packet[2];
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

/// Puts the units together again. Each load carries as much of one unit as it can.
void take_units(const std::vector<slot_load>& loads, std::size_t packets_max, std::vector<sent_unit>& units)
{
    std::size_t left = 0; // of the PES packet
    for (const slot_load& load : loads) {
        const int pid = pid_of(load.packets.front());
        const byte_string payload = payload_of(load);
        const bool begins = left == 0;
        ASSERT_EQ(load.whole_header, pid == time_pid) << load.time_s;
        ASSERT_EQ(load.type, begins && pid != time_pid ? 0x87U : 0x83U) << load.time_s;
        if (begins)
            units.push_back({.name = payload[1] == 0x70 ? "TDT" : "TOT", .time_s = load.time_s});
        if (pid == time_pid)
            continue;
        if (begins)
            left = 6 + static_cast<std::size_t>(payload[4] << 8 | payload[5]);
        ASSERT_EQ(load.packets.size(), std::min((left + payload_size - 1) / payload_size, packets_max))
            << load.time_s;
        ASSERT_EQ(payload.size(), std::min(left, packets_max * payload_size)) << load.time_s;
        left -= payload.size();
        byte_string& bytes = units.back().bytes;
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        // The page_state (ETSI EN 300 743, 7.2.2) is "mode change" in a display set, "normal case" in a
        // refresh.
        units.back().name = "R?D?"[bytes.at(14 + 9) >> 2 & 3] + std::to_string(pid - first_subtitle_pid);
    }
}

/// What is to be sent in the time that these units took: cycles, and behind the first of them and behind
/// each that ends 20 seconds (of the clock) after the last time a TDT and a TOT.
std::vector<std::string> names_to_send(const std::vector<sent_unit>& units, int services)
{
    std::vector<std::string> names;
    double refreshed_s = -20;
    while (names.size() < units.size()) {
        for (int shown = 0; shown < services; ++shown) {
            names.push_back("D" + std::to_string(shown));
            for (int other = 0; other < services; ++other)
                if (other != shown)
                    names.push_back("R" + std::to_string(other));
        }
        if (names.size() < units.size() && std::floor(units[names.size()].time_s) >= refreshed_s + 20) {
            refreshed_s = std::floor(units[names.size()].time_s);
            names.insert(names.end(), {"TDT", "TOT"});
        }
    }
    names.resize(units.size());
    return names;
}

/// What leaves the board: the same PES packets but for those in the two slots, each service's always the
/// same two.
void expect_stream(const std::string& path, const std::vector<sent_unit>& units, int services)
{
    const ts_content content = read_stream(path);
    EXPECT_THAT(content.complaints, IsEmpty());
    EXPECT_THAT(content.counter_errors, IsEmpty());
    std::map<std::string, byte_string> first;
    auto sent = content.pes_packets.begin();
    for (const auto& [name, time_s, bytes] : units) {
        if (bytes.empty() || sent == content.pes_packets.end())
            continue;
        ASSERT_EQ(sent++->bytes, bytes) << name << time_s;
        ASSERT_EQ(first.try_emplace(name, bytes).first->second, bytes) << name << time_s;
    }
    EXPECT_GE(content.pes_packets.size() + 9, units.size()); // three times a TDT and a TOT, two in the slots
    EXPECT_EQ(first.size(), 2U * static_cast<unsigned>(services));
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

const struct {
    int articles;
    int services;
    std::size_t packets_max; ///< of a load: what the tables leave room for, at most 8
    std::vector<std::string> options;
} cases[] = {
    {2, 2, 8, {"--duration", "45", "--packet-rate", "150", "--bus-clock", "0"}}, // each wait is needed
    {3, 3, 8, {"--duration", "45"}},
    {50, 40, 7, {"--duration", "45", "--bus-clock", "800000", "--packet-rate", "3000"}},
};

} // namespace

TEST(Streaming, SendsEachDisplaySetAndTheOthersRefreshesForEver)
{
    std::set<std::string> special;
    for (const auto& [articles, services, packets_max, options] : cases) {
        const temporary_folder folder;
        write_shop(folder, articles);
        const std::string stream = (folder.path / "stream.ts").string();
        run_request request = shop_run(folder, options);
        request.options.insert(request.options.end(), {"--stream", stream});
        const run_result result = run_daemon_emulated(request);
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
        testing::UnorderedElementsAre(
            "slot 0 busy", "slot 1 busy", "slot 0 armed late", "TDT in slot 0", "TDT in slot 1"));
}
