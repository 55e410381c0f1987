#include "startup.h"

#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

constexpr struct {
    const char* content;
    std::optional<std::uint32_t> version;
} version_files[] = {
    {"3\n", 3}, {" 2", 2}, {"4abc", 4}, {"-1", 0xFFFFFFFF}, {"abc", std::nullopt}, {"", std::nullopt}};

TEST(Startup, ReadsTheVersionAsADecimalNumber)
{
    const temporary_folder folder;
    for (const auto& [content, version] : version_files) {
        const std::string path = write_file(folder, "version", content);
        std::optional<std::uint32_t> read;
        const std::string errors = stderr_of([&] { read = read_epld_version(path.c_str()); });
        EXPECT_EQ(read, version) << content;
        EXPECT_EQ(errors, version ? "" : "cannot get epld version: no decimal number in " + path + "\n");
    }
    EXPECT_EQ(stderr_of([&] { EXPECT_FALSE(read_epld_version(folder.path.c_str())); }),
        "cannot get epld version: Is a directory\n");
}

} // namespace
