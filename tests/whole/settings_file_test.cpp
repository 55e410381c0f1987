#include "emulated_run.h"

#include <gmock/gmock.h>

// The file of the settings, as the unit has it loaded.

namespace {

/// What becomes of variables, with what the loader has to say.
std::string loaded(const std::string& file, const std::string& names)
{
    return output_of_command("(env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 sh " WITH_SETTINGS " " + file
        + " printenv " + names + " 2>&1)");
}

std::string all_bytes_but(std::string_view left_out)
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (left_out.find(static_cast<char>(byte)) == std::string_view::npos)
            bytes += static_cast<char>(byte);
    return bytes;
}

const struct {
    std::string written, value;
} values[] = {
    {'"' + all_bytes_but("\n\"\\") + '"', all_bytes_but("\n\"\\")},
    {'\'' + all_bytes_but("\n'") + '\'', all_bytes_but("\n'")},
    {all_bytes_but("\n\"'"), all_bytes_but("\n\"'")},
    {R"("a\"b\\c\$d\`e\n")", R"(a"b\c$d`e\n)"},
    {"$HOME `pwd` $(pwd) * \\", "$HOME `pwd` $(pwd) * \\"},
    {"\"blanks \" \t# and a remark", "blanks "},
    {"no#remark \t\r", "no#remark"},
    {"", ""},
};

const std::string no_setting = "is no setting (PREF_...=\"value\") and left out";

/// What the loader says of a line.
const std::pair<std::string, std::string> odd_lines[] = {{"PREF_A=\"open", no_setting},
    {"PREF_A='open", no_setting}, {"PREF_A=\"x\"y", no_setting}, {"PREF_A", no_setting},
    {"PREF-A=x", no_setting}, {"LD_PRELOAD=x", no_setting}, {"export PREF_A=x", no_setting},
    {"PREF_A=true # on", "has no quotes: what looks like a remark belongs to the value"}};

TEST(SettingsFile, PassesAnyByte)
{
    const temporary_folder folder;
    for (const auto& [written, value] : values) {
        const std::string file = write_file(folder, "settings", "PREF_A=" + written);
        EXPECT_EQ(loaded(file, "PREF_A"), value + "\n") << written;
    }
}

TEST(SettingsFile, TellsOfOddLinesAndTakesTheOthers)
{
    const temporary_folder folder;
    for (const auto& [line, said] : odd_lines) {
        const std::string file =
            write_file(folder, "settings", std::string("# remark\n\n").append(line).append("\nPREF_B=b\n"));
        EXPECT_THAT(loaded(file, "PREF_B"),
            testing::EndsWith(std::string(file).append(", line 3 ").append(said).append("\nb\n")));
        const std::string all = loaded(file, "");
        EXPECT_EQ(all.find("PREF_A=") == std::string::npos, said == no_setting) << line;
        EXPECT_EQ(all.find("PREF_A=true # on\n") != std::string::npos, said != no_setting) << line;
        EXPECT_EQ(all.find("LD_PRELOAD="), std::string::npos);
    }
}

} // namespace
