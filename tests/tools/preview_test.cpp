#include "tiny_shop.h"

#include <filesystem>
#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr std::uint32_t white = 0xFFFFFFFF;
constexpr std::uint32_t black = 0xFF000000;
constexpr const char* price_place = R"(x_pos="100" y_pos="200" width="80" height="40")";

std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

/// Every pixel as good as random: nothing that run lengths could shorten.
std::uint32_t noise(int column, int line)
{
    auto mixed = static_cast<std::uint32_t>(column * 7919 + line * 104729);
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6DU;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39U;
    return mixed | 0xFF000000U;
}

} // namespace

TEST(Preview, ShowsTheScreenOfAnArticle)
{
    const tiny_shop shop;
    const preview_run result = shop.run({"--background", "203040"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.messages, "");
    const std::string picture = shop.output("screen-1-A1.png");
    EXPECT_EQ(pixel_of_png(picture, 99, 200), 0xFF203040);
    EXPECT_EQ(pixel_of_png(picture, 179, 200), white); // the region's ground
    EXPECT_EQ(pixel_of_png(picture, 180, 200), 0xFF203040);
    EXPECT_EQ(pixel_of_png(picture, 603, 14), white); // the icon at the top of the banner
    EXPECT_EQ(pixel_of_png(picture, 603, 100), black);
    EXPECT_EQ(pixel_of_png(picture, 719, 575), 0xFF203040);
    EXPECT_EQ(pixel_of_png(picture, 720, 0), 0U);
}

TEST(Preview, ReportsRegionsSizesAndTime)
{
    const tiny_shop shop;
    shop.write_articles(article("A1", "") + article("A 2/b", ""));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.report, StartsWith("2 of 2 articles are shown"));
    // The banner alone, 88 x 550 in one colour: 2 bytes, a page of 14, a region of 22, a CLUT of 104, an
    // object of 13 with 6 in each line (11 0F 3F 00 00 F0) and one to stuff, 7 for the end.
    EXPECT_THAT(
        result.report, HasSubstr("banner     603,14      88x550           1 > 1          0              0"));
    EXPECT_TRUE(std::filesystem::exists(shop.output("screen-2-A_2_b.png")));
    EXPECT_THAT(
        result.report, HasSubstr("display set 3,463 bytes in 19 packets, refresh 23 bytes in 1 packet"));
    EXPECT_THAT(result.report,
        HasSubstr("2 display sets and 2 refresh display sets: 40 packets in 8 loads of a stream slot"));
    EXPECT_THAT(result.report, HasSubstr(" at 100 kHz, "));
    EXPECT_THAT(result.report, HasSubstr("All is well.\n"));
}

TEST(Preview, SaysWhichArticlesAreNotShown)
{
    const tiny_shop shop;
    std::string articles = article("other", "", "stand-2") + "<article code=\"none\"/>";
    for (int i = 1; i <= 41; ++i)
        articles += article("N" + std::to_string(i), "");
    shop.write_articles(articles);
    const preview_run result = shop.run({"--article", "N40"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.report, StartsWith("40 of 43 articles are shown"));
    EXPECT_THAT(result.report, HasSubstr("other        it is for host stand-2\n"));
    EXPECT_THAT(result.report, HasSubstr("none         it names no host (ovu)\n"));
    EXPECT_THAT(result.report, HasSubstr("N41          40 articles of this host stand before it\n"));
    EXPECT_TRUE(std::filesystem::exists(shop.output("screen-40-N40.png")));
    EXPECT_FALSE(std::filesystem::exists(shop.output("screen-39-N39.png")));
}

TEST(Preview, TellsWhatIsMissing)
{
    const tiny_shop shop;
    shop.write_layout(region("brand", R"(x_pos="10" y_pos="300" width="100" height="40")")
        + region("modle", "")
        + R"(<region name="price" width="9" height="0"><text font="Sans" size="9"/></region>)"
        + R"(<region name="warranty" width="50" height="50" x_pos="620"/>)");
    shop.write_articles(
        article("A1", "<brand>No NAME</brand><price>9</price><usb>1</usb><hd>SD</hd><warranty>2</warranty>"));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 0);
    for (const char* line : {"note: the layout has no region \"model\"",
             "note: the layout's region \"modle\"", "note: there is no logo no name.png: the name is drawn",
             "warning: icon sd.png is missing: file not found", "warning: icon usb.png is missing",
             "warning: price: the region has no pixel and is left out",
             "warning: warranty: the layout gives no font", "warning: banner and warranty overlap",
             "All is well, 5 warnings."})
        EXPECT_THAT(result.report, HasSubstr(line));
    EXPECT_THAT(
        result.messages, HasSubstr("Error: Cannot find image " + (shop.folder.path / "sd.png").string()));
    EXPECT_THAT(result.messages, HasSubstr("Empty region of 9x0 pixels"));
}

TEST(Preview, TellsWhatViewersWouldSeeBroken)
{
    const struct {
        const char* elements;
        std::string regions;
        const char* line;
    } cases[] = {
        {"<price>9</price>", region("price", R"(x_pos="700" y_pos="560" width="80" height="40")"),
            "BROKEN: price: the region leaves the display by 60 pixels at the right"},
        {"<price>9</price>", region("price", R"(x_pos="700" y_pos="560" width="80" height="40")"),
            "BROKEN: price: the region leaves the display by 24 pixels at the bottom"},
        {"<price>1 299 999</price>", region("price", price_place), "BROKEN: price: the text is cut: "},
        {"<price>9</price>", region("price", R"(x_pos="100" y_pos="200" width="80" height="10")"),
            "too high for its region"},
        {"<price>1 299 999</price>",
            region("price", R"(x_pos="690" y_pos="10" width="80" height="40")", R"(adjustRegionSize="yes")"),
            "too wide for the display"},
        {"<price>9</price>", region("price", R"(x_pos="-1" y_pos="0" width="80" height="40")"),
            "BROKEN: price: (-1,0) lies outside of the display: the daemon does not start"},
    };
    for (const auto& [elements, regions, line] : cases) {
        const tiny_shop shop;
        shop.write_layout(regions);
        shop.write_articles(article("A1", elements));
        const preview_run result = shop.run();
        EXPECT_EQ(result.status, 1) << line;
        EXPECT_THAT(result.report, AllOf(HasSubstr(line), HasSubstr(" broken"))) << line;
    }
}

TEST(Preview, TellsOfATextCutAt256Bytes)
{
    const tiny_shop shop;
    shop.write_articles(article("A1", "<price>" + repeated("i", 257) + "</price>"));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.report, HasSubstr("BROKEN: price: the text of 257 bytes is cut at 256"));
}

TEST(Preview, TellsOfADisplaySetThatIsCut)
{
    const tiny_shop shop;
    write_png((shop.folder.path / "noisy.png").string(), 590, 560, noise);
    shop.write_layout(R"(<region name="brand" width="590" height="560"><image/></region>)");
    shop.write_articles(article("A1", "<brand>Noisy</brand>"));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.report, HasSubstr("display set 64,000 bytes in 348 packets"));
    EXPECT_THAT(result.report, HasSubstr("BROKEN: the display set is cut at 64000 bytes"));
    EXPECT_THAT(result.report, HasSubstr("BROKEN: a receiver finds: there must be one end of display set"));
}

// A grey that came first stands for the white beside it, and nothing brighter makes up for it: every
// pixel hands on a little more than it got.
TEST(Preview, TellsOfColoursThatRunAway)
{
    const tiny_shop shop;
    write_png((shop.folder.path / "ramp.png").string(), 200, 100, [](int column, int) {
        const int grey = column < 32 ? 249 - 8 * column : 255;
        return 0xFF000000U | static_cast<std::uint32_t>(grey) * 0x010101U;
    });
    shop.write_layout(R"(<region name="brand" width="200" height="100"><image/></region>)");
    shop.write_articles(article("A1", "<brand>Ramp</brand>"));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.report, HasSubstr("warning: brand: the carried error has run away"));
}

TEST(Preview, TellsWhatKeepsTheDaemonFromShowingAnything)
{
    const tiny_shop shop;
    write_file(shop.folder, "bad.png", "no picture");
    shop.write_layout(R"(<region name="brand" width="50" height="50"><image/></region>)");
    shop.write_articles(article("A1", "<brand>Bad</brand>"));
    const preview_run bad_logo = shop.run();
    EXPECT_EQ(bad_logo.status, 1);
    EXPECT_THAT(
        bad_logo.report, AllOf(HasSubstr("bad.png cannot be used"), HasSubstr("the daemon does not start")));
    EXPECT_THAT(bad_logo.messages, HasSubstr("cannot add image"));
    EXPECT_FALSE(std::filesystem::exists(shop.output("screen-1-A1.png")));

    write_file(shop.folder, "infostv.xml", "<a>\n<article></a>");
    const preview_run bad_file = shop.run();
    EXPECT_EQ(bad_file.status, 1);
    EXPECT_THAT(
        bad_file.report, HasSubstr("infostv.xml is not well-formed in line 2, column 12 (mismatched tag)"));
    EXPECT_THAT(
        bad_file.report, HasSubstr("no article for this host; the article file has these hosts: none"));

    shop.write_articles(article("B1", "", "stand-2") + article("B2", "", "stand-2"));
    const environment elsewhere{{"PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet"}};
    const preview_run other_host = shop.run();
    EXPECT_EQ(other_host.status, 1);
    EXPECT_THAT(other_host.report, HasSubstr("has these hosts: stand-2 (2)"));
    EXPECT_THAT(other_host.report, HasSubstr("is \"Ethernet\": no subtitles"));
}

TEST(Preview, LaysTheScreenOverAPicture)
{
    const tiny_shop shop;
    const std::string picture = (shop.folder.path / "ground.png").string();
    write_png(picture, 2, 1, [](int column, int) { return column == 0 ? 0xFFFF0000U : 0xFF0000FFU; });
    EXPECT_EQ(shop.run({"--background", picture}).status, 0);
    EXPECT_EQ(pixel_of_png(shop.output("screen-1-A1.png"), 5, 5), 0xFFFF0000);
    EXPECT_EQ(pixel_of_png(shop.output("screen-1-A1.png"), 715, 570), 0xFF0000FF);
    EXPECT_EQ(pixel_of_png(shop.output("screen-1-A1.png"), 179, 200), white);
}

TEST(Preview, GivesNoneForWrongOptions)
{
    const tiny_shop shop;
    EXPECT_THAT(shop.run({"--help"}).report, StartsWith("Usage: tsinsert-preview"));
    EXPECT_EQ(shop.run({"--help"}).status, 0);
    write_file(shop.folder, "file", "");
    const struct {
        std::vector<std::string> options;
        const char* message;
    } cases[] = {
        {{"--colour"}, "tsinsert-preview: unknown option"},
        {{"--resources", "/no/such"}, "there is no folder /no/such/"},
        {{"--background", "/no/such.png"}, "cannot use the background /no/such.png: file not found"},
        {{"--article", "A2"}, "no article of this host has the code A2"},
        {{"--output", (shop.folder.path / "file" / "out").string()}, "cannot make the folder"},
    };
    for (const auto& [options, message] : cases) {
        const preview_run result = shop.run(options);
        EXPECT_EQ(result.status, 2) << message;
        EXPECT_THAT(result.messages, HasSubstr(message));
        EXPECT_EQ(result.report, "") << message;
    }
}
