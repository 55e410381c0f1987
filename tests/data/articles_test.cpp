#include "articles.h"

#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

constexpr std::pair<const char*, char * item::*> texts[] = {{"code=", &item::code}, {"brand=", &item::brand},
    {"logo=", &item::logo}, {"model=", &item::model}, {"price=", &item::price}, {"type=", &item::type},
    {"size=", &item::size}, {"hdmi=", &item::hdmi}, {"usb=", &item::usb}, {"hd=", &item::hd},
    {"warranty=", &item::warranty}, {"ovu=", &item::ovu}};

/// The articles, one in a line, with all that they hold, such as "code=A1;tuner_hd;7\n"; they are freed.
std::string take_text(item* articles)
{
    std::string lines;
    for (const item* article = articles; article != nullptr; article = article->next) {
        for (const auto& [name, text] : texts)
            lines += article->*text != nullptr ? name + std::string(article->*text) + ";" : "";
        lines += article->tuner_hd != 0 ? "tuner_hd;" : "";
        lines += article->threeD_ready != 0 ? "threeD_ready;" : "";
        lines += (article->channel != 0 ? std::to_string(article->channel) : "") + "\n";
    }
    free_articles(articles);
    return lines;
}

/// The messages and articles that come of an article file and a reference file of these contents.
std::string read_articles(std::string_view content, std::string_view reference = "<r/>")
{
    const temporary_folder folder;
    const auto path = write_file(folder, "infostv.xml", content);
    const auto reference_path = write_file(folder, "referencieltv.xml", reference);
    item* articles = nullptr;
    const auto messages = stderr_of([&] {
        articles = ParseXMLInfostv(path.c_str());
        ParseXMLReferencieltv(reference_path.c_str(), articles);
    });
    return messages + take_text(articles);
}

constexpr struct {
    const char* what;
    const char* fields;
    const char* article;
} articles_of_fields[] = {
    {"every field",
        "<channel>7</channel><ovu>stand-1</ovu><warranty>2 years</warranty><threeD>Ready</threeD>x"
        "<hd>Full</hd><usb>1</usb><hdmi>3</hdmi><tuner>hd</tuner><size>102 cm</size><type>LED</type>\n"
        "<price>499</price><brand>Fictiva</brand><model>SX 40</model>",
        "brand=Fictiva;model=SX 40;price=499;type=led;size=102 cm;hdmi=3;usb=1;hd=full;warranty=2 years;"
        "ovu=stand-1;tuner_hd;threeD_ready;7\n"},
    {"names that begin like a field", "<hdmi2>1</hdmi2><hdm>B</hdm>", "hdmi=1;hd=b;\n"},
    {"the first text", "<model>A</model><model>B</model><hd>C</hd><hd>D</hd>", "model=A;hd=c;\n"},
    {"the first piece", "<model>A &amp; B</model><brand>C&#66;</brand>", "brand=C;model=A ;\n"},
    {"the last piece", "<ovu>A&amp;B</ovu><channel>1</channel><channel>\n 2\n</channel>", "ovu=B;2\n"},
    {"no number", "<channel>-5th</channel><channel>none</channel>", "-5\n"},
    {"counts but zero", "<hdmi>00</hdmi><usb>0</usb>", "hdmi=00;\n"},
    {"flags of other words, never lowered",
        "<tuner>HD</tuner><tuner>SD</tuner><threeD> Ready</threeD><threeD>R</threeD>Ready", "tuner_hd;\n"},
    {"letters outside ASCII", "<type>\xC3\x89TOILE [AZ]</type>", "type=\xC3\x89toile [az];\n"},
    {"unknown elements", "<Size>1<model>A</model></Size><article/><usb>1</usb>",
        "Invalid tag inside item\nInvalid tag inside item\nInvalid tag inside item\nusb=1;\n"},
    {"elements inside fields", "<model><b>A</b></model><channel><channel/>1</channel><size>2</size>",
        "Invalid parse status 2 in elemStart\nInvalid parse status 14 in elemStart\nmodel=A;size=2;1\n"},
};

TEST(ArticleFile, FillsTheFields)
{
    for (const auto& [what, fields, article] : articles_of_fields)
        EXPECT_EQ(read_articles("<r><article>" + std::string(fields) + "</article></r>"), article) << what;
}

TEST(ArticleFile, HasArticlesBelowItsRoot)
{
    EXPECT_EQ(read_articles("<article><model>A</model></article>"), "");
    EXPECT_EQ(
        read_articles("<r><s><article/></s><model>A</model><articles/>Ready<model>B</model></r>"), "\n");
    EXPECT_EQ(read_articles("<r><article codeX='1' code='2'/><article a='3' code='4'/></r>"), "code=1;\n\n");
}

constexpr struct {
    const char* what;
    const char* content;  ///< of the root element
    const char* articles; ///< of codes AB (with model M, host H and channel 1), B and again B
} references[] = {
    {"other codes",
        "<article code='A'><usb>1</usb></article><article code='ABC'><usb>1</usb></article>"
        "<article code='b'><usb>1</usb><x/></article><article><usb>1</usb></article>",
        "code=AB;model=M;ovu=H;1\ncode=B;\ncode=B;\n"},
    {"texts", "<article code='AB'><model>N</model><price>2</price></article>",
        "code=AB;model=M;price=2;ovu=H;1\ncode=B;\ncode=B;\n"},
    {"host, channel, flags", "<article code='AB'><channel>2</channel><ovu>I</ovu><tuner>HD</tuner></article>",
        "code=AB;model=M;ovu=I;tuner_hd;2\ncode=B;\ncode=B;\n"},
    {"a code of two articles",
        "<article code='B'><usb>1</usb></article><article codes='B'><hdmi>1</hdmi></article>",
        "code=AB;model=M;ovu=H;1\ncode=B;usb=1;\ncode=B;\n"},
};

TEST(ReferenceFile, CompletesTheArticlesOfItsCodes)
{
    const char* content = "<r><article code='AB'><model>M</model><ovu>H</ovu><channel>1</channel></article>"
                          "<article code='B'/><article code='B'/></r>";
    for (const auto& [what, reference, articles] : references)
        EXPECT_EQ(read_articles(content, "<r>" + std::string(reference) + "</r>"), articles) << what;
    EXPECT_EQ(read_articles("<r><article/></r>", "<r><article code=''><usb>1</usb></article></r>"), "\n");
}

constexpr struct {
    const char* host_name;
    std::uint32_t limit;
    std::int32_t kept;
    const char* left;
} host_filters[] = {
    {"A", 40, 2, "ovu=A;1\novu=A;6\n"},
    {"a", 1, 1, "ovu=a;4\novu=AB;5\novu=A;6\n"},
    {"AB", 0xFFFFFFFF, 1, "ovu=AB;5\n"},
    {"B", 0, 0, "ovu=A;1\novu=B;2\n3\novu=a;4\novu=AB;5\novu=A;6\n"},
    {nullptr, 40, 0, ""},
};

constexpr const char* articles_of_hosts = R"(<r>
  <article><channel>1</channel><ovu>A</ovu></article><article><channel>2</channel><ovu>B</ovu></article>
  <article><channel>3</channel></article><article><channel>4</channel><ovu>a</ovu></article>
  <article><channel>5</channel><ovu>AB</ovu></article><article><channel>6</channel><ovu>A</ovu></article></r>)";

TEST(HostFilter, KeepsTheArticlesOfTheHost)
{
    const temporary_folder folder;
    const auto path = write_file(folder, "infostv.xml", articles_of_hosts);
    for (const auto& [host_name, limit, kept, left] : host_filters) {
        item* articles = ParseXMLInfostv(path.c_str());
        EXPECT_EQ(PurgeDataBase(&articles, host_name, limit), kept);
        EXPECT_EQ(take_text(articles), left);
    }
}

} // namespace
