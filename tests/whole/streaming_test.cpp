#include "emulated_run.h"

#include <gmock/gmock.h>

using testing::IsEmpty;

// Multi-service operation: what the daemon sends, in which order. With which requests, the device judges:
// a slot filled before it is free, or armed before the other was acknowledged, makes the run unsound.

namespace {

constexpr int time_pid = 20;
constexpr int first_subtitle_pid = 4368;

/// "D0": display set of service 0, "R1": refresh of service 1, "TDT" and "TOT"; empty: no stream slot's.
std::string name_of(const ts_unit& unit)
{
    if (unit.pid == time_pid)
        return unit.bytes[0] == 0x70 ? "TDT" : "TOT";
    if (unit.pid < first_subtitle_pid)
        return "";
    // The page_state (ETSI EN 300 743, 7.2.2) is "mode change" in a display set, "normal case" in a refresh.
    return "R?D?"[unit.bytes.at(14 + 9) >> 2 & 3] + std::to_string(unit.pid - first_subtitle_pid);
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

/// Whole cycles, and a TDT and a TOT at the end of some. Each service's PES packets are always the same two.
void expect_cycles(const std::vector<ts_unit>& units, int services, int& refreshes)
{
    const auto cycle = cycle_of(services);
    std::map<std::string, byte_string> first;
    std::size_t in_cycle = 0;
    for (const ts_unit& unit : units) {
        const std::string name = name_of(unit);
        if (name == "TDT" || name == "TOT") {
            ASSERT_EQ(in_cycle, 0U);
            refreshes += name == "TOT" ? 1 : 0;
        } else if (!name.empty()) {
            ASSERT_EQ(name, cycle[in_cycle]);
            ASSERT_EQ(first.try_emplace(name, unit.bytes).first->second, unit.bytes) << name;
            in_cycle = (in_cycle + 1) % cycle.size();
        }
    }
    EXPECT_EQ(first.size(), 2U * static_cast<unsigned>(services));
}

const struct {
    int articles;
    int services;
    std::vector<std::string> options;
} cases[] = {
    {2, 2, {"--packet-rate", "150", "--bus-clock", "0"}}, // each wait is needed
    {3, 3, {}},
    {50, 40, {"--bus-clock", "800000", "--packet-rate", "3000"}},
};

} // namespace

TEST(Streaming, SendsEachDisplaySetAndTheOthersRefreshesForEver)
{
    for (const auto& [articles, services, options] : cases) {
        const temporary_folder folder;
        write_shop(folder, articles);
        const std::string stream = (folder.path / "stream.ts").string();
        run_request request = shop_run(folder, options);
        request.options.insert(request.options.end(),
            {"--duration", "65", "--start", "2026-11-18 14:05:09", "--stream", stream});
        const run_result result = run_daemon_emulated(request);
        ASSERT_EQ(result.emulator_status, 0) << services << result.summary << result.errors;
        const ts_content content = read_stream(stream);
        EXPECT_THAT(content.complaints, IsEmpty());
        EXPECT_THAT(content.counter_errors, IsEmpty());
        int refreshes = 0;
        ASSERT_NO_FATAL_FAILURE(expect_cycles(content.units, services, refreshes)) << services;
        EXPECT_GE(refreshes, 3) << services;
    }
}
