#include "preview_options.h"

#include <gmock/gmock.h>
#include <vector>

using testing::HasSubstr;

namespace {

preview_options parse(std::vector<std::string> words)
{
    words.insert(words.begin(), "tsinsert-preview");
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return parse_preview_options(static_cast<int>(words.size()), argv.data());
}

} // namespace

TEST(PreviewOptions, ReadTheCommandLine)
{
    const preview_options options =
        parse({"--resources", "shop", "--background=#203040", "--output", "out", "--article", "TV1"});
    EXPECT_EQ(options.error, "");
    EXPECT_EQ(options.resources, "shop/");
    EXPECT_EQ(options.background, "#203040");
    EXPECT_EQ(options.output, "out");
    EXPECT_EQ(options.article, "TV1");
    EXPECT_EQ(parse({}).resources, "/usr/playout/.medias/resources/");
}

TEST(PreviewOptions, SayWhatIsWrongWithTheCommandLine)
{
    const struct {
        std::vector<std::string> words;
        const char* error;
    } cases[] = {
        {{"--colour", "red"}, "unknown option"},
        {{"--output"}, "without its value"},
        {{"--output", ""}, "--output needs a value"},
        {{"shop"}, "what is \"shop\" for?"},
        {{"--resources", std::string(127, 'a')}, "too long"},
    };
    for (const auto& [words, error] : cases)
        EXPECT_THAT(parse(words).error, HasSubstr(error));
}

TEST(PreviewOptions, HelpNamesEveryOption)
{
    EXPECT_TRUE(parse({"--help"}).help);
    EXPECT_TRUE(parse({"-h"}).help);
    for (const char* name :
        {"--resources", "--background", "--output", "--article", "PREF_SYSTEM_", "Exit status"})
        EXPECT_THAT(preview_help(), HasSubstr(name));
}
