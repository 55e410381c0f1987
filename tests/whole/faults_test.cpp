#include "shop_files.h"
#include "slot_loads.h"

#include <algorithm>
#include <gmock/gmock.h>

using testing::EndsWith;
using testing::StartsWith;

namespace {

constexpr const char* at_work = "daemon: at work when the run ended";
constexpr const char* failed = "daemon: ended with status 234";

const std::string packets_message = "Use 2 slots of 8 packets \n";

/// What the daemon says of a refused request, and whether it carries on.
struct refusal_rule {
    const char* kind;
    unsigned register_number;
    std::size_t bytes; ///< of the transfer; 0: any number
    const char* output;
    const char* errors;
    const char* end;
};

constexpr refusal_rule rules[] = {
    {"open", 0, 0, "", "Open modif_table_ovu317 driver: ", failed},
    {"bind", 0, 0, "", "can't access I2C chip !!!: ", failed},
    {"write-byte", 2, 1, "can't delete tables !!!\n", "", at_work},
    {"read-byte", 0, 0, "can't read reg 0 on the EPLD2 !!!\n", "", at_work},
    {"write-byte", 0, 1, "can't change insertion state of the tables !!!\n", "", at_work},
    {"write-word", 11, 2, "send_i2c_offset : error !!!\n", "", at_work},
    {"write-block", 32, 4, "send_i2c_header : error !!!\n", "", at_work},
    {"write-block", 32, 1, "send_i2c_byte : error !!!\n", "", at_work},
    {"write-block", 32, 31, "send_i2c_data : error !!", "", at_work},
    {"write-block", 32, 2, "send_i2c_data : error !!", "", at_work},
    {"read-byte", 32, 0, "can't read reg 0 on the EPLD2 !!!\nWaiting for slot ready failed !!!\n", "",
        failed},
};

/// `text` without the first occurrence of `part`; empty when there is none.
std::string without(std::string text, const std::string& part)
{
    const std::size_t at = text.find(part);
    return at == std::string::npos ? std::string() : text.erase(at, part.size());
}

const refusal_rule* rule_of(const recorded_request& request)
{
    const auto* const rule =
        std::find_if(std::begin(rules), std::end(rules), [&](const refusal_rule& candidate) {
            return candidate.kind == request.kind && candidate.register_number == request.register_number
                && (candidate.bytes == 0 || candidate.bytes == request.bytes.size());
        });
    return rule != std::end(rules) ? rule : nullptr;
}

struct vain_wait {
    std::vector<std::string> options;
    std::string message; ///< the last
    std::size_t slot;    ///< of the last load
    int busy_polls;
    int acknowledgement_polls;
};

const std::string refused_read = "can't read reg 0 on the EPLD2 !!!\n";
const std::string not_ready = "Waiting for slot ready failed !!!\n";
const std::string not_acknowledged = "Waiting for previous slot acknowledged failed !!!\n";

// At that packet rate no slot is busy when it is polled first. The reads are two of the control
// register, two of the load of slot 0, one of slot 1, and then those of the next load of slot 0.
const vain_wait vain_waits[] = {
    {{"--stuck-slot", "0"}, not_ready, 0, 5000, 0},
    {{"--stuck-slot", "1"}, not_ready, 1, 5000, 0},
    {{"--no-acknowledge", "0"}, not_ready, 0, 5000, 0},
    {{"--no-acknowledge", "1", "--packet-rate", "100000"}, not_acknowledged, 0, 1, 5000},
    {{"--fail", "read-byte:6", "--packet-rate", "100000"}, refused_read + not_ready, 0, 1, 0},
    {{"--fail", "read-byte:7", "--packet-rate", "100000"}, refused_read + not_acknowledged, 0, 1, 1},
};

} // namespace

/// A start and the first TDT and TOT, with every request of the bus refused once, one after another.
/// A refused write only shows as its message, a refused test of a slot ends the daemon, and the bus is
/// closed whenever it was open.
TEST(Faults, EveryRequestRefusedOnce)
{
    for (const std::string generation : {"2", "3"}) {
        const std::string first = "Detect EPLD version " + generation + "\nNo subtitle to play\n";
        const std::string all = first + "Use 2 slots of 8 packets \n";
        int number = 1;
        for (;; ++number) {
            const run_result result = run_daemon_emulated(
                {{"--duration", "2", "--generation", generation, "--fail", "any:" + std::to_string(number)},
                    {}});
            const auto refused = std::find_if(result.requests.begin(), result.requests.end(),
                [](const auto& request) { return request.failed; });
            if (refused == result.requests.end())
                break;
            const std::string what = "generation " + generation + ", request " + std::to_string(number);
            const refusal_rule* const rule = rule_of(*refused);
            ASSERT_NE(rule, nullptr) << what << " " << refused->kind;
            EXPECT_EQ(without(result.output, rule->output), number <= 2 ? first : all) << what;
            EXPECT_THAT(result.errors, StartsWith(rule->errors)) << what;
            EXPECT_EQ(result.errors.empty(), std::string(rule->errors).empty()) << what;
            EXPECT_EQ(result.daemon_end, rule->end) << what << result.output;
            EXPECT_EQ(result.requests.back().kind == "close", rule->end == std::string(failed) && number > 1)
                << what;
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
    for (const auto& [options, message, slot, busy_polls, acknowledgement_polls] : vain_waits) {
        run_request request = shop_run(folder, options);
        request.settings.emplace_back("ASAN_OPTIONS", "detect_leaks=0"); // nothing is released on the way out
        const run_result result = run_daemon_emulated(request);
        const std::string what = testing::PrintToString(options);
        EXPECT_EQ(result.daemon_end, failed) << what << result.errors;
        EXPECT_THAT(result.output, EndsWith(packets_message + message)) << what;
        EXPECT_EQ(result.requests.back().kind, "close") << what;

        const load_list read = read_loads(result.requests);
        const slot_load& last = read.loads.back();
        EXPECT_EQ(read.complaint, "") << what;
        EXPECT_EQ(last.slot, slot) << what;
        EXPECT_EQ(last.busy_polls, busy_polls) << what;
        EXPECT_EQ(last.acknowledgement_polls, acknowledgement_polls) << what;
        EXPECT_EQ(last.packets.empty(), acknowledgement_polls == 0) << what;
        EXPECT_EQ(last.type, 0) << what;
        EXPECT_GE(
            result.requests.back().time_s - last.time_s, 0.001 * (busy_polls + acknowledgement_polls - 2))
            << what;
    }
}

TEST(Faults, ADeviceThatAnswersNothingIsClosedToo)
{
    const run_result result = run_daemon_emulated({{"--fail", "any:3+"}, {}});
    EXPECT_EQ(result.daemon_end, failed);
    EXPECT_THAT(
        result.output, StartsWith("Detect EPLD version 3\nNo subtitle to play\ncan't delete tables !!!\n"));
    EXPECT_THAT(
        result.output, EndsWith("can't read reg 0 on the EPLD2 !!!\nWaiting for slot ready failed !!!\n"));
    EXPECT_EQ(result.requests.back().kind, "close");
}
