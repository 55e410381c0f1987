#include "emulated_run.h"

#include <gmock/gmock.h>
#include <map>
#include <regex>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string refused_read = "can't read reg 0 on the EPLD2 !!!\n";
const std::string not_ready = "Waiting for slot ready failed !!!\n";

/// What the daemon says of a refused request, and whether it carries on.
struct refusal_rule {
    std::string output{};
    std::string errors{}; ///< their beginning
    std::string end = at_work;
};

/// By kind, register and bytes of the transfer, as in the record of the bus.
const std::map<std::string, refusal_rule> rules{
    {"open", {.errors = "Open modif_table_ovu317 driver: ", .end = failed}},
    {"bind", {.errors = "can't access I2C chip !!!: ", .end = failed}},
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

} // namespace

constexpr const char* loads_refused = "--fail=write-block:300+"; // in the loop

/// How the daemon runs and ends when nobody reads its messages.
const struct {
    const char* what;
    std::vector<std::string> options;
    std::string end;
} unread_runs[] = {
    {"at the start", {"--duration", "2"}, at_work},
    {"a refused write in the loop", {"--duration", "22", loads_refused}, at_work},
    {"an end", {"--generation", "none"}, failed},
};

TEST(Faults, GoesOnWhenNobodyReadsItsMessages)
{
    for (const auto& [what, options, end] : unread_runs) {
        const temporary_folder folder;
        const std::string pipe = (folder.path / "pipe").string();
        std::string without_reader = "sh -c 'mkfifo ";
        without_reader.append(pipe).append(" && exec 9<>").append(pipe).append(" >").append(pipe);
        without_reader.append(" 2>&1 9<&- && exec " DAEMON "'");
        const run_result result = run_daemon_emulated({.options = options, .program = without_reader});
        EXPECT_EQ(result.daemon_end, end) << what << result.summary;
        EXPECT_EQ(result.summary.find("ended by a signal"), std::string::npos) << what;
    }
}

TEST(Faults, NeverTakesTheBusForAStandardStreamThatIsClosed)
{
    for (const std::string closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-"}) {
        const run_result result = run_daemon_emulated(
            {.options = {"--duration", "2"}, .program = "sh -c 'exec " DAEMON " " + closed + "'"});
        EXPECT_EQ(result.emulator_status, 0) << closed << result.summary;
    }
}

TEST(Faults, KeepsMessagesOutOfTheRecordWhenTheEmulatorHasNoOutput)
{
    const temporary_folder folder;
    const std::string path = (folder.path / "record").string();
    output_of_command("(exec >&-; " + command_line({{"--duration", "2", "--record", path}}) + ")");
    EXPECT_THAT(read_file(folder.path / "record"), AllOf(HasSubstr(" open\n"), Not(HasSubstr("Detect"))));
}

/// The kind, register and number of bytes of the request that was refused, as in the rules; none: no such.
std::string refused_in(const std::string& record)
{
    std::smatch found;
    if (!std::regex_search(
            record, found, std::regex("\\S+ (\\S+( \\d+)?)( at \\d+)?:?((?: [0-9A-F]{2})*) failed\n")))
        return "";
    return found.str(1) + (found[2].matched ? " " + std::to_string(found.length(4) / 3) : "");
}

/// A start and the first TDT and TOT, with every request of the bus refused once, one after another.
/// A refused write only shows as its message, a refused test of a slot ends the daemon, and the bus is
/// closed whenever it was open.
TEST(Faults, EveryRequestRefusedOnce)
{
    for (const std::string generation : {"2", "3"}) {
        const std::string first = "Detect EPLD version " + generation + "\nNo subtitle to play\n";
        int number = 1;
        for (;; ++number) {
            const run_result result = run_daemon_emulated(
                {{"--duration", "2", "--generation", generation, "--fail", "any:" + std::to_string(number)}});
            const std::string refused = refused_in(result.record);
            if (refused.empty())
                break;
            const std::string what = "generation " + generation + ", request " + std::to_string(number);
            const auto rule = rules.find(refused);
            ASSERT_NE(rule, rules.end()) << what << " " << refused;
            const auto& [output, errors, end] = rule->second;
            EXPECT_EQ(
                without(result.output, output), first + (number <= 2 ? "" : "Use 2 slots of 8 packets \n"))
                << what;
            EXPECT_THAT(result.errors, StartsWith(errors)) << what;
            EXPECT_EQ(result.errors.empty(), errors.empty()) << what;
            EXPECT_EQ(result.daemon_end, end) << what << result.output;
            EXPECT_EQ(result.record.ends_with("close\n"), end == failed && number > 1) << what;
        }
        EXPECT_GT(number, 80) << generation; // five tables, two stream slots, the first TDT and TOT
    }
}
