#include "emulated_run.h"

#include <algorithm>
#include <gmock/gmock.h>

using testing::EndsWith;
using testing::StartsWith;

namespace {

constexpr const char* at_work = "daemon: at work when the run ended";
constexpr const char* failed = "daemon: ended with status 234";

const std::string first_messages = "Detect EPLD version 3\nNo subtitle to play\n";
const std::string all_messages = first_messages + "Use 2 slots of 8 packets \n";

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

} // namespace

/// A start and the first TDT and TOT, with every request of the bus refused once, one after another.
/// A refused write only shows as its message, a refused test of a slot ends the daemon, and the bus is
/// closed whenever it was open.
TEST(Faults, EveryRequestRefusedOnce)
{
    int number = 1;
    for (;; ++number) {
        const run_result result =
            run_daemon_emulated({{"--duration", "2", "--fail", "any:" + std::to_string(number)}, {}});
        const auto refused = std::find_if(result.requests.begin(), result.requests.end(),
            [](const auto& request) { return request.failed; });
        if (refused == result.requests.end())
            break;
        const refusal_rule* const rule = rule_of(*refused);
        ASSERT_NE(rule, nullptr) << number << " " << refused->kind;
        EXPECT_EQ(without(result.output, rule->output), number <= 2 ? first_messages : all_messages)
            << number;
        EXPECT_THAT(result.errors, StartsWith(rule->errors)) << number;
        EXPECT_EQ(result.daemon_end, rule->end) << number << result.output;
        EXPECT_EQ(result.requests.back().kind == "close", rule->end == std::string(failed) && number > 1)
            << number;
    }
    EXPECT_GT(number, 80); // five tables of ten requests, two stream slots, the first TDT and TOT
}

TEST(Faults, AStreamSlotThatStaysBusyEndsTheDaemonAfterFiveSeconds)
{
    const run_result result = run_daemon_emulated({{"--stuck-slot", "1"}, {}});
    EXPECT_EQ(result.daemon_end, failed);
    EXPECT_THAT(result.output, EndsWith("Waiting for slot ready failed !!!\n"));
    const auto polls = std::count_if(result.requests.end() - 10'001, result.requests.end(),
        [](const auto& request) { return request.kind == "read-byte" && request.register_number == 32; });
    EXPECT_EQ(polls, 5000);
    EXPECT_EQ(result.requests.back().kind, "close");
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
