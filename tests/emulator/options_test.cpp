#include "options.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

launch_options parse(std::vector<std::string> words, front_end program = front_end::launcher)
{
    static std::vector<std::string> kept; // what the result points to
    kept = std::move(words);
    std::vector<char*> argv{program_invocation_name};
    for (std::string& word : kept)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return parse_command_line(program, static_cast<int>(kept.size()) + 1, argv.data());
}

} // namespace

TEST(Options, ReadTheCommandLine)
{
    const launch_options options = parse({"--start", "1970-01-02 00:00:01", "--duration", "10h", "--clock",
        "real", "--packet-rate=500", "--set-clock", "5:-3600", "--", "tsinsertd", "--help"});
    EXPECT_EQ(options.error, "");
    EXPECT_EQ(options.start_s, 86'401);
    EXPECT_EQ(options.duration_s, 36'000);
    EXPECT_TRUE(options.real_time);
    EXPECT_EQ(options.packet_rate, 500);
    EXPECT_EQ(options.clock_set.by_s, -3600);
    EXPECT_THAT(options.command, testing::ElementsAre(testing::StrEq("tsinsertd"), testing::StrEq("--help")));
}

TEST(Options, SayWhatIsWrongWithTheCommandLine)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "which daemon?"},
        {{"--colour", "red", "tsinsertd"}, "unknown option"},
        {{"--duration"}, "without its value"},
        {{"--duration", "0", "tsinsertd"}, "--duration cannot be \"0\""},
        {{"--duration", "8785h", "tsinsertd"}, "--duration cannot be \"8785h\""}, // over a leap year
        {{"--start", "2026-02-31 00:00:00", "tsinsertd"}, "--start cannot be"},
        {{"--clock", "fast", "tsinsertd"}, "--clock cannot be"},
        {{"--set-clock", "5", "tsinsertd"}, "--set-clock cannot be"},
        {{"--packet-rate", "0", "tsinsertd"}, "--packet-rate cannot be"},
        {{"--fail", "write", "tsinsertd"}, "--fail cannot be"},
        {{"--stuck-slot", "2", "tsinsertd"}, "--stuck-slot cannot be"},
    };
    for (const auto& [words, error] : cases)
        EXPECT_THAT(parse(words).error, testing::HasSubstr(error));
}
