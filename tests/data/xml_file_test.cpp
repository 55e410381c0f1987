#include "xml_file.h"

#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

std::string messages_of(const std::string& path)
{
    return stderr_of([&] { parse_xml_file(path.c_str(), {}); });
}

constexpr std::pair<std::string_view, const char*> contents[] = {{"<r>x<a/></r>\n", ""},
    {"<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>", ""}, {{"\xFE\xFF\0<\0r\0/\0>", 10}, ""},
    {"<r>\xE9</r>", "XML parsing failed\n"}, {{"<r/>\0", 5}, "XML parsing failed\n"},
    {"", "XML parsing failed\n"}};

TEST(XmlFile, IsParsedWholeInItsEncoding)
{
    const temporary_folder folder;
    for (const auto& [content, messages] : contents)
        EXPECT_EQ(messages_of(write_file(folder, "file.xml", content)), messages) << content;
}

/// The kernel refuses to open a running program for writing, even to the superuser.
TEST(XmlFile, MustBeOpenToReadingAndWriting)
{
    for (const char* path : {"/missing.xml", "/", "", "/proc/self/exe"})
        EXPECT_EQ(messages_of(path), "Cannot open " + std::string(path) + "\n");
}

TEST(XmlFile, MustHaveASizeThatExpatCanTake)
{
    const temporary_folder folder;
    const auto pipe = (folder.path / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(messages_of(pipe), "Cannot allocate memory\n");
    const auto file = write_file(folder, "huge.xml", "<r/>");
    std::filesystem::resize_file(file, 1ULL << 31);
    EXPECT_EQ(messages_of(file), "Cannot allocate memory\n");
}

} // namespace
