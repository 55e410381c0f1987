#include "xml_file.h"

#include "allocation_fakes.h"
#include "articles.h"
#include "capture.h"
#include "layout.h"
#include "temporary.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// The kernel refuses to open a running program for writing, even to the superuser. Whoever runs the test is
/// one, also where a processor is emulated.
TEST(XmlFile, MustBeOpenToReadingAndWritingAndHaveASizeThatExpatCanTake)
{
    const std::string running = "/proc/" + std::to_string(getppid()) + "/exe";
    for (const std::string path : {"/missing.xml", "/", "", running.c_str()})
        EXPECT_EQ(messages_of(path), "Cannot open " + path + "\n");
    const temporary_folder folder;
    const auto pipe = (folder.path / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(messages_of(pipe), "Cannot allocate memory\n");
    const auto file = write_file(folder, "huge.xml", "<r/>");
    std::filesystem::resize_file(file, 1ULL << 31);
    EXPECT_EQ(messages_of(file), "Cannot allocate memory\n");
}

} // namespace

// The linker demands these names (see CMakeLists.txt).
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
XML_Parser __real_XML_ParserCreate(const XML_Char* encoding);

XML_Parser __wrap_XML_ParserCreate(const XML_Char* encoding)
{
    return this_one_fails(0) ? nullptr : __real_XML_ParserCreate(encoding);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

/// The files of a shop, each record of which holds texts.
const std::string article_text = "<r><article code='C'><type>T</type><ovu>O</ovu></article></r>";
const std::string layout_text = "<l><region name='a'><text font='A'/><text font='B'/></region></l>";

struct parsed_shop {
    std::string messages{};
    int records = 0; ///< articles and regions
    int texts = 0;   ///< that they hold
};

/// With the n-th request for memory failing.
parsed_shop parse_shop(std::int32_t n)
{
    const temporary_folder folder;
    const auto article_path = write_file(folder, "infostv.xml", article_text);
    const auto layout_path = write_file(folder, "layout.xml", layout_text);
    parsed_shop parsed;
    item* article = nullptr;
    layout_region* region = nullptr;
    parsed.messages = stderr_of([&] {
        const watched_allocation watch(n);
        article = ParseXMLInfostv(article_path.c_str());
        region = ParseXMLLayout(layout_path.c_str());
    });
    if (article != nullptr)
        for (const char* text : {article->code, article->type, article->ovu})
            parsed.texts += text != nullptr ? 1 : 0;
    if (region != nullptr)
        for (const char* text : {region->name, region->font})
            parsed.texts += text != nullptr ? 1 : 0;
    parsed.records = (article != nullptr ? 1 : 0) + (region != nullptr ? 1 : 0);
    free_articles(article);
    free_layout(region);
    return parsed;
}

constexpr const char* no_memory = "Cannot allocate memory\n";
constexpr const char* no_record = "calloc allocate memory\n";

/// In the order of the requests: for a file's bytes, its parser, a record or a text of it. What has found no
/// memory is missing, with all in it; but the first font stays where there is none for the second.
constexpr struct {
    const char* messages;
    int records;
    int texts;
} lacking_memory[] = {{no_memory, 1, 2}, {no_memory, 1, 2}, {no_record, 1, 2}, {no_memory, 2, 4},
    {no_memory, 2, 4}, {no_memory, 2, 4}, {no_memory, 1, 3}, {no_memory, 1, 3}, {no_record, 1, 3},
    {no_memory, 2, 4}, {no_memory, 2, 5}, {no_memory, 2, 5}, {"", 2, 5}};

TEST(XmlFile, LacksOnlyWhatFindsNoMemory)
{
    for (std::int32_t n = 0; n < std::ssize(lacking_memory); ++n) {
        const auto [messages, records, texts] = parse_shop(n);
        EXPECT_EQ(messages, lacking_memory[n].messages) << n;
        EXPECT_EQ(records, lacking_memory[n].records) << n;
        EXPECT_EQ(texts, lacking_memory[n].texts) << n;
    }
}

} // namespace
