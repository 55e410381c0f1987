#include "xml_file.h"

#include "capture.h"
#include "temporary.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// The events of a parse as one text: "+name" and "-name" for elements, "'text" for character data.

void note_start(void* events, const char* name, const char** /*attributes*/)
{
    static_cast<std::string*>(events)->append("+").append(name);
}

void note_end(void* events, const char* name)
{
    static_cast<std::string*>(events)->append("-").append(name);
}

void note_text(void* events, const char* text, int length)
{
    static_cast<std::string*>(events)->append("'").append(text, static_cast<std::size_t>(length));
}

struct outcome {
    std::string events;
    std::string messages;
};

outcome parse(const std::string& path, XML_CharacterDataHandler text = note_text)
{
    outcome result;
    result.messages = stderr_of([&] {
        parse_xml_file(path.c_str(),
            {.user_data = &result.events,
                .start_element = note_start,
                .end_element = note_end,
                .character_data = text});
    });
    return result;
}

constexpr struct {
    const char* what;
    std::string_view content;
    const char* events;
    const char* messages;
} contents[] = {
    {"a document", "<r><a>x</a></r>", "+r+a'x-a-r", ""},
    {"its encoding declared", "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>", "+r'\xC3\xA9-r", ""},
    {"a byte order mark", "\xEF\xBB\xBF<r/>", "+r-r", ""},
    {"UTF-16 with the high byte first", {"\xFE\xFF\0<\0r\0/\0>", 10}, "+r-r", ""},
    {"UTF-16 with the low byte first", {"\xFF\xFE<\0r\0/\0>\0", 10}, "+r-r", ""},
    {"no byte", "", "", "XML parsing failed\n"},
    {"white space only", " \n", "", "XML parsing failed\n"},
    {"no element", "hello", "", "XML parsing failed\n"},
    {"zero bytes", {"\0\0\0\0\0\0\0\0", 8}, "", "XML parsing failed\n"},
    {"Latin-1 undeclared", "<r><a/>\xE9</r>", "+r+a-a", "XML parsing failed\n"},
    {"an unknown encoding", "<?xml version='1.0' encoding='x-none'?><r/>", "", "XML parsing failed\n"},
    {"half a UTF-16 character", {"\xFE\xFF\0<\0r\0/\0>\0", 11}, "+r-r", "XML parsing failed\n"},
    {"a wrong end tag", "<r><a></r>", "+r+a", "XML parsing failed\n"},
    {"a second root", "<r/><s/>", "+r-r", "XML parsing failed\n"},
};

TEST(XmlFile, IsParsedWhole)
{
    const temporary_folder folder;
    for (const auto& [what, content, events, messages] : contents) {
        const auto result = parse(write_file(folder, "file.xml", content));
        EXPECT_EQ(result.events, events) << what;
        EXPECT_EQ(result.messages, messages) << what;
    }
}

TEST(XmlFile, NeedsNoHandlerOfText)
{
    const temporary_folder folder;
    EXPECT_EQ(parse(write_file(folder, "file.xml", "<r>x<a/></r>"), nullptr).events, "+r+a-a-r");
}

TEST(XmlFile, MustBeOpenToReadingAndWriting)
{
    const temporary_folder folder;
    const auto missing = (folder.path / "missing.xml").string();
    EXPECT_EQ(parse(missing).messages, "Cannot open " + missing + "\n");
    EXPECT_EQ(parse(folder.path).messages, "Cannot open " + folder.path.string() + "\n");
    EXPECT_EQ(parse("").messages, "Cannot open \n");
    // The kernel refuses to open a running program for writing, even to the superuser.
    EXPECT_EQ(parse("/proc/self/exe").messages, "Cannot open /proc/self/exe\n");
}

TEST(XmlFile, MustHaveASizeThatExpatCanTake)
{
    const temporary_folder folder;
    const auto pipe = (folder.path / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(parse(pipe).messages, "Cannot allocate memory\n");
    const auto file = write_file(folder, "huge.xml", "<r/>");
    for (const std::uintmax_t size_bytes : {1ULL << 31, (1ULL << 32) + 4}) {
        std::filesystem::resize_file(file, size_bytes);
        EXPECT_EQ(parse(file).messages, "Cannot allocate memory\n") << size_bytes;
    }
}

TEST(XmlFile, MayBeAHundredMegabytesOfNonsense)
{
    constexpr std::size_t size_bytes = 100'000'000;
    const temporary_folder folder;
    const auto zeros = write_file(folder, "zeros.xml", "<r><a>");
    std::filesystem::resize_file(zeros, size_bytes);
    EXPECT_EQ(parse(zeros).messages, "XML parsing failed\n");

    const auto text = parse(write_file(folder, "text.xml", "<r>" + std::string(size_bytes, 'x')));
    EXPECT_EQ(text.messages, "XML parsing failed\n");
    EXPECT_GT(text.events.size(), size_bytes);
}

} // namespace
