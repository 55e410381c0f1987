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

constexpr const char* left_out[] = {"PREF_A=\"open", "PREF_A='open", "PREF_A=\"x\"y", "PREF_A", "PREF-A=x",
    "LD_PRELOAD=x", "export PREF_A=x"};

TEST(SettingsFile, PassesAnyByte)
{
    const temporary_folder folder;
    for (const auto& [written, value] : values) {
        const std::string file = write_file(folder, "settings", "PREF_A=" + written);
        EXPECT_EQ(loaded(file, "PREF_A"), value + "\n") << written;
    }
}

TEST(SettingsFile, SaysThatARemarkBelongsToAValueWithoutQuotes)
{
    const temporary_folder folder;
    const std::string file = write_file(folder, "settings", "\nPREF_A=true # on\n");
    EXPECT_EQ(loaded(file, "PREF_A"),
        "with-settings: " + file
            + ", line 2 has no quotes: what looks like a remark belongs to the value\ntrue # on\n");
}

TEST(SettingsFile, IsTakenWithoutTheLinesThatAreNoSettings)
{
    const temporary_folder folder;
    for (const std::string line : left_out) {
        const std::string file = write_file(folder, "settings", "# remark\n\n" + line + "\nPREF_B=b\n");
        EXPECT_EQ(loaded(file, "PREF_B"),
            "with-settings: " + file + ", line 3 is no setting (PREF_...=\"value\") and left out\nb\n");
        EXPECT_THAT(loaded(file, "PREF_A LD_PRELOAD"), testing::StartsWith("failed:")) << line;
    }
}

} // namespace
