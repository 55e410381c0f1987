#include "preview.h"

#include "canvas.h"
#include "capture.h"
#include "formatted.h"
#include "screen_file.h"
#include "temporary.h"

#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

constexpr rgba_pixel white{255, 255, 255, 255};
constexpr rgba_pixel black{0, 0, 0, 255};
constexpr rgba_pixel red{255, 0, 0, 255};
constexpr rgba_pixel blue{0, 0, 255, 255};

/// What a run of the preview left behind.
struct preview_run {
    int status = -1;
    std::string report;
    std::string messages; ///< of standard error
};

/// An article of the host with these elements.
std::string article(const std::string& code, const std::string& elements, const std::string& host = "stand-1")
{
    return "<article code=\"" + code + "\"><ovu>" + host + "</ovu>" + elements + "</article>\n";
}

/// A region of the layout with an opaque white ground.
std::string region(const std::string& name, const std::string& place, const std::string& attributes = "")
{
    return "<region name=\"" + name + "\" " + place
        + R"(><text font="Sans" size="20" backgroundColor="FFFFFFFF" foregroundColor="FF000000" )"
        + attributes + "/></region>\n";
}

/// The region of the price at (x,y), 80 pixels wide.
std::string price(int x, int y, int height, const std::string& attributes = "")
{
    return region(
        "price", formatted(R"(x_pos="%d" y_pos="%d" width="80" height="%d")", x, y, height), attributes);
}

/// A resources folder for host "stand-1" with one article, "A1", on a layout that draws its price,
/// black on white, at (100,200), and one icon, led.png. Pictures go to the folder "out" beside it.
struct tiny_shop {
    tiny_shop()
    {
        write_articles(article("A1", "<price>9</price><type>LED</type>"));
        write_layout(price(100, 200, 40));
        write_file(folder, "referencieltv.xml", "<r/>");
        write_png("led.png", 176, 137, [](int, int) { return 0xFFFFFFFFU; });
    }

    void write_articles(const std::string& articles) const
    {
        write_file(folder, "infostv.xml", "<a>\n" + articles + "</a>\n");
    }

    void write_layout(const std::string& regions) const
    {
        write_file(folder, "layout.xml", "<l>\n" + regions + "</l>\n");
    }

    /// `argb` gives the pixel (0xAARRGGBB) of a column and line.
    void write_png(
        const std::string& name, int width, int height, std::uint32_t (*argb)(int column, int line)) const
    {
        const owned_surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
        unsigned char* place = cairo_image_surface_get_data(surface.get()); // lines of whole words
        for (int pixel = 0; pixel < width * height; ++pixel, place += sizeof(std::uint32_t)) {
            const std::uint32_t word = argb(pixel % width, pixel / width);
            std::memcpy(place, &word, sizeof word);
        }
        cairo_surface_mark_dirty(surface.get());
        cairo_surface_write_to_png(surface.get(), (folder.path / name).c_str());
    }

    [[nodiscard]] std::string output(const std::string& name) const
    {
        return (folder.path / "out" / name).string();
    }

    [[nodiscard]] preview_run run(std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(),
            {"tsinsert-preview", "--resources", folder.path.string(), "--output", output("")});
        std::vector<char*> argv;
        argv.reserve(options.size() + 1);
        for (std::string& word : options)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        preview_run result;
        result.messages = stderr_of([&] {
            result.report = stdout_of(
                [&] { result.status = run_preview(static_cast<int>(options.size()), argv.data()); });
        });
        return result;
    }

    temporary_folder folder;
    environment settings{
        {"PREF_SYSTEM_NETWORK_HOSTNAME", "stand-1"}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}};
};

/// Every pixel as good as random: nothing that run lengths could shorten.
std::uint32_t noise(int column, int line)
{
    auto mixed = static_cast<std::uint32_t>(column * 7919 + line * 104729);
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6DU;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39U;
    return mixed | 0xFF000000U;
}

/// A grey that comes first stands for the white beside it, and nothing brighter makes up for it: every
/// pixel hands on a little more than it got.
std::uint32_t runaway(int column, int /*line*/)
{
    const int grey = column < 32 ? 249 - 8 * column : 255;
    return 0xFF000000U | static_cast<std::uint32_t>(grey) * 0x010101U;
}

} // namespace

TEST(Preview, ShowsTheScreenOfAnArticle)
{
    const tiny_shop shop;
    shop.write_png("ground.png", 2, 1, [](int column, int) { return column == 0 ? 0xFFFF0000 : 0xFF0000FF; });
    const preview_run result = shop.run({"--background", (shop.folder.path / "ground.png").string()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.messages, "");
    const auto shown = make_background(shop.output("screen-1-A1.png")).pixels;
    const struct {
        std::size_t column;
        std::size_t line;
        rgba_pixel colour;
    } pixels[] = {
        {99, 200, red}, {179, 200, white}, {180, 200, red}, // the region's ground
        {603, 14, white}, {603, 100, black},                // the icon at the banner's top
        {5, 5, red}, {715, 570, blue},                      // the picture beneath
    };
    for (const auto& [column, line, colour] : pixels)
        EXPECT_EQ(shown.at(720 * line + column), colour) << column;
}

TEST(Preview, ReportsRegionsSizesAndTime)
{
    const tiny_shop shop;
    shop.write_articles(article("A1", "") + article("A 2/b", ""));
    const preview_run result = shop.run();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::filesystem::exists(shop.output("screen-2-A_2_b.png")));
    // The banner alone, 88 x 550 in one colour: 2 bytes, a page of 14, a region of 22, a CLUT of 104, an
    // object of 13 with 6 in each line (11 0F 3F 00 00 F0) and one to stuff, 7 for the end.
    for (const char* line : {"2 of 2 articles are shown",
             "banner     603,14      88x550           1 > 1          0              0",
             "display set 3,463 bytes in 19 packets, refresh 23 bytes in 1 packet",
             "2 display sets and 2 refresh display sets: 40 packets in 8 loads of a stream slot",
             " at 100 kHz, ", "All is well.\n"})
        EXPECT_THAT(result.report, HasSubstr(line));
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
    for (const char* line : {"40 of 43 articles are shown", "other        it is for host stand-2\n",
             "none         it names no host (ovu)\n",
             "N41          40 articles of this host stand before it\n"})
        EXPECT_THAT(result.report, HasSubstr(line));
    EXPECT_TRUE(std::filesystem::exists(shop.output("screen-40-N40.png")));
    EXPECT_FALSE(std::filesystem::exists(shop.output("screen-39-N39.png")));
}

TEST(Preview, TellsWhatIsMissing)
{
    const tiny_shop shop;
    shop.write_layout(region("brand", R"(x_pos="500" y_pos="300" width="100" height="40")")
        + region("modle", "")
        + R"(<region name="price" width="9" height="0"><text font="Sans" size="9"/></region>)"
        + R"(<region name="warranty" width="50" height="50" x_pos="560"/>)");
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
    const std::string logo = R"(<region name="brand" width="590" height="560"><image/></region>)";
    const struct {
        std::string elements;
        std::string layout;
        std::vector<const char*> lines;
        int status = 1;
    } cases[] = {
        {"<price>9</price>", price(700, 560, 40),
            {"BROKEN: price: the region leaves the display by 60 pixels at the right",
                "BROKEN: price: the region leaves the display by 24 pixels at the bottom", "2 things are"}},
        {"<price>1 299 999</price>", price(100, 200, 40), {"BROKEN: price: the text is cut: ", "1 thing is"}},
        {"<price>9</price>", price(100, 200, 10), {"too high for its region"}},
        {"<price>1 299 999</price>", price(690, 10, 40, R"(adjustRegionSize="yes")"),
            {"too wide for the display"}},
        {"<price>9</price>", price(-1, 0, 40),
            {"BROKEN: price: (-1,0) lies outside of the display: the daemon does not start"}},
        {"<price>" + std::string(257, 'i') + "</price>", price(100, 200, 40),
            {"BROKEN: price: the text of 257 bytes is cut at 256"}},
        {"<brand>Noisy</brand>", logo,
            {"display set 64,000 bytes in 348 packets", "BROKEN: the display set is cut at 64000 bytes",
                "BROKEN: a receiver finds: there must be one end of display set"}},
        {"<brand>Bad</brand>", logo, {"bad.png cannot be used", "prepared: the daemon does not start"}},
        {"<brand>Ramp</brand>", R"(<region name="brand" width="200" height="100"><image/></region>)",
            {"warning: brand: the carried error has run away"}, 0},
    };
    const tiny_shop shop;
    write_file(shop.folder, "bad.png", "no picture");
    shop.write_png("noisy.png", 590, 560, noise);
    shop.write_png("ramp.png", 200, 100, runaway);
    for (const auto& [elements, layout, lines, status] : cases) {
        shop.write_layout(layout);
        shop.write_articles(article("A1", elements));
        const preview_run result = shop.run();
        EXPECT_EQ(result.status, status) << lines[0];
        for (const char* line : lines)
            EXPECT_THAT(result.report, HasSubstr(line));
    }
}

TEST(Preview, TellsWhyThereIsNothingToShow)
{
    const tiny_shop shop;
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

TEST(Preview, GivesNoneForWrongOptions)
{
    const tiny_shop shop;
    for (const char* help : {"--help", "-h"}) {
        const preview_run result = shop.run({help});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.report, testing::StartsWith("Usage: tsinsert-preview"));
    }
    write_file(shop.folder, "file", "");
    const struct {
        std::vector<std::string> options;
        const char* message;
    } cases[] = {
        {{"--colour"}, "tsinsert-preview: unknown option"},
        {{"--output"}, "without its value"},
        {{"--output", ""}, "--output needs a value"},
        {{"shop"}, "what is \"shop\" for?"},
        {{"--resources", std::string(127, 'a')}, "too long"},
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
