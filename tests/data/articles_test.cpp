#include "articles.h"

#include "article_list.h"
#include "capture.h"
#include "library_fakes.h"
#include "temporary.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

struct outcome {
    std::string articles;
    std::string messages;
};

/// What the article file of that content gives and then, unless it is null, the reference file.
outcome read_articles(std::string_view content, const char* reference = nullptr)
{
    const temporary_folder folder;
    const auto path = write_file(folder, "infostv.xml", content);
    const auto reference_path =
        write_file(folder, "referencieltv.xml", reference == nullptr ? "" : reference);
    owned_articles articles;
    outcome result;
    result.messages = stderr_of([&] {
        articles.reset(ParseXMLInfostv(path.c_str()));
        if (reference != nullptr)
            ParseXMLReferencieltv(reference_path.c_str(), articles.get());
    });
    result.articles = text_of(articles.get());
    return result;
}

constexpr struct {
    const char* what;
    const char* fields;
    const char* article;
} kept_fields[] = {
    {"every field",
        "<channel>7</channel><ovu>stand-1</ovu><warranty>2 "
        "years</warranty><threeD>ready</threeD>x<hd>Full</hd>"
        "<usb>1</usb><hdmi>3</hdmi><tuner>hD</tuner><size>102 cm</size><type>LED</type>\n<price>499</price>"
        "<brand>Fictiva</brand><model>SX 40</model>",
        "brand=Fictiva;model=SX 40;price=499;type=led;size=102 cm;hdmi=3;usb=1;hd=full;warranty=2 years;"
        "ovu=stand-1;tuner_hd=1;threeD_ready=1;channel=7;\n"},
    {"names that begin like a field", "<hdmi2>1</hdmi2><hdm>B</hdm>", "hdmi=1;hd=b;\n"},
    {"the first of two", "<model>A</model><model>B</model><hd>C</hd><hd>D</hd>", "model=A;hd=c;\n"},
    {"no inputs and ports", "<hdmi>0</hdmi><usb>0</usb>", "\n"},
    {"other counts", "<hdmi>00</hdmi><usb>0</usb><usb>2</usb>", "hdmi=00;usb=2;\n"},
    {"flags of other words", "<tuner>HD+</tuner><tuner>H</tuner><threeD> Ready</threeD>", "\n"},
    {"flags never lowered", "<tuner>HD</tuner><tuner>SD</tuner>", "tuner_hd=1;\n"},
    {"letters outside ASCII", "<type>\xC3\x89TOILE</type>", "type=\xC3\x89toile;\n"},
    {"the part before an escape", "<model>A &amp; B</model><brand>C&#66;</brand>", "brand=C;model=A ;\n"},
    {"the first line", "<price>499\nor 4 x 125</price>", "price=499;\n"},
    {"the last host and channel",
        "<ovu>A</ovu><ovu>B&amp;C</ovu><channel>1</channel><channel>\n 12 \n</channel>",
        "ovu=C;channel=12;\n"},
    {"a channel without a number", "<channel>-5th</channel><channel>none</channel><channel/>",
        "channel=-5;\n"},
};

TEST(ArticleFile, FillsTheFields)
{
    for (const auto& [what, fields, article] : kept_fields) {
        const auto result = read_articles("<r><article>" + std::string(fields) + "</article></r>");
        EXPECT_EQ(result.articles, article) << what;
        EXPECT_EQ(result.messages, "") << what;
    }
}

constexpr struct {
    const char* what;
    const char* content;
    const char* articles;
    const char* messages;
} files[] = {
    {"no article", "<shop><!-- closed --></shop>", "", ""},
    {"an article as root", "<article><model>A</model></article>", "", ""},
    {"an article too deep", "<r><s><article><model>A</model></article></s><articles/></r>", "\n", ""},
    {"fields outside", "<r><model>A</model><article/><model>B</model></r>", "\n", ""},
    {"attributes", "<r><article codeX='1' code='2'/><article a='3' code='4'/><article code=''/></r>",
        "code=1;\n\ncode=;\n", ""},
    {"an unknown element", "<r><article><Size>1<model>A</model></Size><usb>1</usb></article></r>", "usb=1;\n",
        "Invalid tag inside item\nInvalid tag inside item\n"},
    {"an article inside an article", "<r><article><article/><usb>1</usb></article></r>", "usb=1;\n",
        "Invalid tag inside item\n"},
    {"elements inside fields",
        "<r><article><model><b>A</b></model><channel><channel/>1</channel><size>2</size></article></r>",
        "model=A;size=2;channel=1;\n",
        "Invalid parse status 2 in elemStart\nInvalid parse status 14 in elemStart\n"},
    {"an error", "<r><article><model>A</model></article><article><size>1</x>", "model=A;\nsize=1;\n",
        "XML parsing failed\n"},
    {"nothing", "", "", "XML parsing failed\n"},
};

TEST(ArticleFile, IsReadByDepth)
{
    for (const auto& [what, content, articles, messages] : files) {
        const auto result = read_articles(content);
        EXPECT_EQ(result.articles, articles) << what;
        EXPECT_EQ(result.messages, messages) << what;
    }
}

TEST(ArticleFile, MayHoldLongTextsAndManyArticles)
{
    const std::string text(5'000'000, 'A');
    EXPECT_TRUE(read_articles("<r><article><model>" + text + "</model></article></r>").articles
        == "model=" + text + ";\n");
    std::string content = "<r>";
    for (std::int32_t n = 0; n < 200'000; ++n)
        content += "<article/>";
    EXPECT_TRUE(read_articles(content + "</r>").articles == std::string(200'000, '\n'));
}

TEST(ArticleFile, ThatCannotBeOpenedGivesNoArticle)
{
    item* articles = nullptr;
    EXPECT_EQ(stderr_of([&] { articles = ParseXMLInfostv("/missing"); }), "Cannot open /missing\n");
    EXPECT_EQ(articles, nullptr);
}

constexpr std::string_view sample = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- the stands -->
<shop>
  <article code="F-40" seen="yes"><model>SX&#160;40</model><price>499 €</price><ovu>stand-1</ovu></article>
  <article code="é-32"><hdmi>2</hdmi><![CDATA[<model>]]><type>LED</type><channel>7</channel></article>
</shop>
)";

TEST(ArticleFile, MayBreakOffAnywhere)
{
    const std::size_t first = sample.find("\"yes\">") + 6;
    const std::size_t second = sample.find("32\">") + 4;
    const std::size_t whole = sample.find("</shop>") + 7;
    for (std::size_t kept = 0; kept <= sample.size(); ++kept) {
        const auto result = read_articles(sample.substr(0, kept));
        EXPECT_EQ(result.messages, kept < whole ? "XML parsing failed\n" : "") << kept;
        EXPECT_EQ(std::ranges::count(result.articles, '\n'), (kept >= first) + (kept >= second)) << kept;
    }
}

TEST(ReferenceFile, MayBreakOffAnywhere)
{
    for (std::size_t kept = 0; kept <= sample.size(); ++kept) {
        const std::string content(sample.substr(0, kept));
        const auto article = read_articles("<r><article code='é-32'/></r>", content.c_str()).articles;
        EXPECT_TRUE(article.starts_with("code=é-32;")) << kept;
        EXPECT_EQ(article.find(";hdmi=2") != std::string::npos, kept > sample.find("2</hdmi>")) << kept;
    }
}

constexpr struct {
    const char* failed_request;
    const char* articles;
    const char* messages;
} lacking_memory[] = {
    {"buffer", "", "Cannot allocate memory\n"},
    {"parser", "", "Cannot allocate memory\n"},
    {"article", "\n", "calloc allocate memory\n"},
    {"code", "brand=B;logo=/usr/playout/.medias/resources/b.png;type=t;ovu=O;\n\n",
        "Cannot allocate memory\n"},
    {"brand", "code=C;type=t;ovu=O;\n\n", "Cannot allocate memory\n"},
    {"logo", "code=C;brand=B;type=t;ovu=O;\n\n", "Cannot allocate memory\n"},
    {"type", "code=C;brand=B;logo=/usr/playout/.medias/resources/b.png;ovu=O;\n\n",
        "Cannot allocate memory\n"},
    {"ovu", "code=C;brand=B;logo=/usr/playout/.medias/resources/b.png;type=t;\n\n",
        "Cannot allocate memory\n"},
    {"next article", "code=C;brand=B;logo=/usr/playout/.medias/resources/b.png;type=t;ovu=O;\n",
        "calloc allocate memory\n"},
    {"none", "code=C;brand=B;logo=/usr/playout/.medias/resources/b.png;type=t;ovu=O;\n\n", ""},
};

TEST(ArticleFile, LacksOnlyWhatFindsNoMemory)
{
    readable_path = "/usr/playout/.medias/resources/b.png";
    std::int32_t request = 0;
    for (const auto& [failed_request, articles, messages] : lacking_memory) {
        requests_until_failure = request++;
        const auto result = read_articles(
            "<r><article code='C'><brand>B</brand><type>T</type><ovu>O</ovu></article><article/></r>");
        EXPECT_EQ(result.articles, articles) << failed_request;
        EXPECT_EQ(result.messages, messages) << failed_request;
    }
    requests_until_failure = -1;
    readable_path = nullptr;
}

constexpr struct {
    const char* what;
    const char* content;  ///< of the root element
    const char* articles; ///< of codes A (with model M, host H and channel 1), B and again B
    const char* messages;
} references[] = {
    {"other codes",
        "<article code='b'><price>1</price><x/></article><article code='BC'><usb>1</usb></article>",
        "code=A;model=M;ovu=H;channel=1;\ncode=B;\ncode=B;\n", ""},
    {"texts", "<article code='A'><model>N</model><price>2</price><hd>Full</hd></article>",
        "code=A;model=M;price=2;hd=full;ovu=H;channel=1;\ncode=B;\ncode=B;\n", ""},
    {"host, channel, flags", "<article code='A'><channel>2</channel><ovu>I</ovu><tuner>HD</tuner></article>",
        "code=A;model=M;ovu=I;tuner_hd=1;channel=2;\ncode=B;\ncode=B;\n", ""},
    {"articles in another order, twice",
        "<article code='B'><usb>1</usb></article><article code='A'><usb>2</usb></article>"
        "<article code='B'><usb>3</usb><hdmi>4</hdmi></article>",
        "code=A;model=M;usb=2;ovu=H;channel=1;\ncode=B;hdmi=4;usb=1;\ncode=B;\n", ""},
    {"no code as first attribute",
        "<article codes='B'><usb>1</usb></article><article x='' code='B'><usb>2</usb></article>"
        "<article><usb>3</usb></article>",
        "code=A;model=M;ovu=H;channel=1;\ncode=B;\ncode=B;\n", ""},
    {"an unknown element", "<article code='B'><colour/><usb>1</usb></article>",
        "code=A;model=M;ovu=H;channel=1;\ncode=B;usb=1;\ncode=B;\n", "Invalid tag inside item\n"},
    {"an error", "<article code='B'><usb>1</usb>",
        "code=A;model=M;ovu=H;channel=1;\ncode=B;usb=1;\ncode=B;\n", "XML parsing failed\n"},
};

TEST(ReferenceFile, CompletesTheArticlesOfItsCodes)
{
    for (const auto& [what, content, articles, messages] : references) {
        const auto result =
            read_articles("<r><article code='A'><model>M</model><ovu>H</ovu><channel>1</channel></article>"
                          "<article code='B'/><article code='B'/></r>",
                ("<r>" + std::string(content) + "</r>").c_str());
        EXPECT_EQ(result.articles, articles) << what;
        EXPECT_EQ(result.messages, messages) << what;
    }
}

TEST(ReferenceFile, IsOpenedOnlyForArticles)
{
    EXPECT_EQ(stderr_of([] { ParseXMLReferencieltv("/missing", nullptr); }), "");
    item without_code;
    EXPECT_EQ(stderr_of([&] { ParseXMLReferencieltv("/missing", &without_code); }), "Cannot open /missing\n");
    EXPECT_EQ(
        read_articles("<r><article/></r>", "<r><article code=''><usb>1</usb></article></r>").articles, "\n");
}

constexpr struct {
    const char* what;
    const char* hosts; ///< one letter per article of the file; '-' for none
    const char* host_name;
    std::uint32_t limit;
    std::int32_t count;
    const char* left; ///< codes of the list afterwards
} host_filters[] = {
    {"an empty list", "", "s", 40, 0, ""},
    {"another host between", "sts", "s", 40, 2, "AC"},
    {"other hosts first and last", "tust", "s", 40, 1, "C"},
    {"other hosts only", "tt", "s", 40, 0, ""},
    {"no host", "-s-", "s", 40, 1, "B"},
    {"other letter case", "Ss", "s", 40, 1, "B"},
    {"only the beginning of the name", "ss", "ss", 40, 0, ""},
    {"no wanted host", "s-", nullptr, 40, 0, ""},
    {"the limit within the list", "tstst", "s", 1, 1, "BCDE"},
    {"the limit at the host's last", "tstst", "s", 2, 2, "BDE"},
    {"a limit of none", "ts", "s", 0, 0, "AB"},
    {"the largest limit", "st", "s", 0xFFFFFFFF, 1, "A"},
    {"fifty of this host", "tssssssssssssssssssssssssssssssssssssssssssssssssss", "s", 40, 40,
        "BCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrs"},
};

/// A list with one article per letter; their codes are A, B and so on, in the order of ASCII.
item* articles_of(const std::string& hosts)
{
    const temporary_folder folder;
    std::string content = "<r>";
    char code = 'A';
    for (const char host : hosts) {
        content += std::string("<article code='") + code++ + "'>";
        content += host == '-' ? "</article>" : std::string("<ovu>") + host + "</ovu></article>";
    }
    return ParseXMLInfostv(write_file(folder, "infostv.xml", content + "</r>").c_str());
}

std::string codes_of(const item* article)
{
    std::string codes;
    for (; article != nullptr; article = article->next)
        codes += article->code;
    return codes;
}

TEST(HostFilter, KeepsTheArticlesOfTheHost)
{
    for (const auto& [what, hosts, host_name, limit, count, left] : host_filters) {
        item* articles = articles_of(hosts);
        EXPECT_EQ(PurgeDataBase(&articles, host_name, limit), count) << what;
        EXPECT_EQ(codes_of(articles), left) << what;
        free_articles(articles);
    }
}

} // namespace
