#include "emulated_run.h"

#include <gmock/gmock.h>
#include <map>

using testing::EndsWith;
using testing::StartsWith;

namespace {

const std::string refused_read = "can't read reg 0 on the EPLD2 !!!\n";
const std::string not_ready = "Waiting for slot ready failed !!!\n";
const std::string not_acknowledged = "Waiting for previous slot acknowledged failed !!!\n";

/// What the daemon says of a refused request, and whether it carries on.
struct refusal_rule {
    std::string output{};
    std::string errors{}; ///< their beginning
    std::string end = at_work;
};

/// By kind, register and bytes of the transfer.
const std::map<std::string, refusal_rule> rules{
    {"open 0 0", {.errors = "Open modif_table_ovu317 driver: ", .end = failed}},
    {"bind 0 0", {.errors = "can't access I2C chip !!!: ", .end = failed}},
    {"write-byte 2 1", {"can't delete tables !!!\n"}},
    {"read-byte 0 0", {refused_read}},
    {"write-byte 0 1", {"can't change insertion state of the tables !!!\n"}},
    {"write-word 11 2", {"send_i2c_offset : error !!!\n"}},
    {"write-block 32 4", {"send_i2c_header : error !!!\n"}},
    {"write-block 32 1", {"send_i2c_byte : error !!!\n"}},
    {"write-block 32 31", {"send_i2c_data : error !!"}},
    {"write-block 32 2", {"send_i2c_data : error !!"}},
    {"read-byte 32 0", {.output = refused_read + not_ready, .end = failed}},
};

/// `text` without the first occurrence of `part`; empty when there is none.
std::string without(std::string text, const std::string& part)
{
    const std::size_t at = text.find(part);
    return at == std::string::npos ? std::string() : text.erase(at, part.size());
}

// Header-table addresses of the stream slots, behind six tables.
constexpr unsigned slot_0 = 24;
constexpr unsigned slot_1 = 28;

const struct {
    std::vector<std::string> options;
    std::string message;   ///< the last
    int polls;             ///< at the end
    unsigned polled;       ///< slot
    unsigned last_written; ///< header-table address
} vain_waits[] = {
    {{"--stuck-slot", "0", "--bus-clock", "0"}, not_ready, 5000, slot_0, slot_1},
    {{"--stuck-slot", "1"}, not_ready, 5000, slot_1, slot_0},
    {{"--no-acknowledge", "0"}, not_ready, 5000, slot_0, slot_1},
    // At that packet rate no slot is busy when it is polled first. The reads are two of the control
    // register, two of the load of slot 0, one of slot 1, and then those of the next load of slot 0.
    {{"--no-acknowledge", "1", "--packet-rate", "100000"}, not_acknowledged, 5000, slot_1, slot_0 + 3},
    {{"--fail", "read-byte:6", "--packet-rate", "100000"}, refused_read + not_ready, 1, slot_0, slot_1},
    {{"--fail", "read-byte:7", "--packet-rate", "100000"}, refused_read + not_acknowledged, 1, slot_1,
        slot_0 + 3},
};

} // namespace

/// A start and the first TDT and TOT, with every request of the bus refused once, one after another.
/// A refused write only shows as its message, a refused test of a slot ends the daemon, and the bus is
/// closed whenever it was open.
TEST(Faults, EveryRequestRefusedOnce)
{
    for (const std::string generation : {"2", "3"}) {
        const std::string first = "Detect EPLD version " + generation + "\nNo subtitle to play\n";
        int number = 1;
        for (bool refused = true; refused; ++number) {
            const run_result result = run_daemon_emulated(
                {{"--duration", "2", "--generation", generation, "--fail", "any:" + std::to_string(number)}});
            refused = false;
            for (const recorded_request& request : result.requests) {
                if (!request.failed)
                    continue;
                refused = true;
                const std::string what = "generation " + generation + ", request " + std::to_string(number);
                const auto rule = rules.find(request.kind + " " + std::to_string(request.register_number)
                    + " " + std::to_string(request.bytes.size()));
                ASSERT_NE(rule, rules.end()) << what << " " << request.kind;
                const auto& [output, errors, end] = rule->second;
                EXPECT_EQ(without(result.output, output),
                    first + (number <= 2 ? "" : "Use 2 slots of 8 packets \n"))
                    << what;
                EXPECT_THAT(result.errors, StartsWith(errors)) << what;
                EXPECT_EQ(result.errors.empty(), errors.empty()) << what;
                EXPECT_EQ(result.daemon_end, end) << what << result.output;
                EXPECT_EQ(result.requests.back().kind == "close", end == failed && number > 1) << what;
            }
        }
        EXPECT_GT(number, 80) << generation; // five tables, two stream slots, the first TDT and TOT
    }
}

/// Both waits end the daemon after 5000 polls, 1 ms apart, and when a poll is refused. A slot that does not
/// become free is left alone, one whose predecessor is not acknowledged is filled but not armed.
TEST(Faults, AStreamSlotThatIsWaitedForInVainEndsTheDaemon)
{
    const temporary_folder folder;
    write_shop(folder, 2);
    for (const auto& [options, message, polls, polled, last_written] : vain_waits) {
        run_request request = shop_run(folder, options);
        request.settings.emplace_back("ASAN_OPTIONS", "detect_leaks=0"); // nothing is released on the way out
        const run_result result = run_daemon_emulated(request);
        const std::string what = testing::PrintToString(options);
        EXPECT_EQ(result.daemon_end, failed) << what << result.errors;
        EXPECT_THAT(result.output, EndsWith("Use 2 slots of 8 packets \n" + message)) << what;
        EXPECT_EQ(result.requests.back().kind, "close") << what;

        int polls_at_end = 0;
        auto request_before = result.requests.rbegin();
        for (; request_before->kind != "write-block"; ++request_before)
            if (request_before->kind == "read-byte") {
                ++polls_at_end;
                EXPECT_EQ(request_before->pointer, polled) << what;
            }
        EXPECT_EQ(polls_at_end, polls) << what;
        EXPECT_EQ(request_before->pointer, last_written) << what;
        EXPECT_GE(result.requests.back().time_s - request_before->time_s, .001 * (polls - 1)) << what;
    }
}
