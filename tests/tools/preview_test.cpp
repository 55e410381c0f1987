#include "preview.h"

#include "canvas.h"
#include "capture.h"
#include "child_process.h"
#include "findings.h"
#include "picture_check.h"
#include "preview_options.h"
#include "screen_file.h"
#include "served_page.h"
#include "silence.h"
#include "temporary.h"
#include "watch.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

using testing::HasSubstr;

// Runs of the preview on shops full of mistakes, compared with reports that somebody has read. After a change
// that is meant, UPDATE_RECORDS=1 writes the reports anew: read what git shows of them.

namespace {

/// The number in the code is that of the channel.
std::string article(const std::string& code, const std::string& elements, const std::string& host = "stand-1")
{
    const std::string channel = std::to_string(std::stoi(code.substr(code.find_first_of("123456789"))));
    return "<article code=\"" + code + "\"><ovu>" + host + "</ovu><channel>" + channel + "</channel>"
        + elements + "</article>\n";
}

/// A region of the layout with black text on an opaque white ground.
std::string region(const std::string& name, const std::string& place, const std::string& attributes = "")
{
    return "<region name=\"" + name + "\" " + place
        + R"(><text font="Liberation Sans" size="20" backgroundColor="FFFFFFFF" foregroundColor="FF000000" )"
        + attributes + "/></region>\n";
}

const std::string price_region = region("price", R"(x_pos="100" y_pos="200" width="80" height="40")");
const std::string wide_logo = R"(<region name="brand" width="590" height="560"><image/></region>)";

std::string many_articles()
{
    std::string articles = article("other 9", "", "stand-2") + "<article code=\"none\"/>";
    for (int i = 1; i <= 41; ++i)
        articles += article("N" + std::to_string(i), "<price>9</price><model>8</model>");
    return articles;
}

/// All end early, each in its own words, on two hosts.
std::string many_prices()
{
    std::string articles;
    for (int i = 101; i <= 125; ++i) {
        const std::string price = std::to_string(i % 2 == 0 ? i : 1000 + i);
        articles += article("P" + std::to_string(i), "<price>" + price + " &#8364;</price>",
            "stand-" + std::to_string(i % 2 + 1));
    }
    return articles;
}

struct previewed_shop {
    std::string name; ///< of its report
    std::string articles;
    std::string layout = price_region;
    std::vector<std::pair<std::string, std::string>> settings{};
    std::vector<std::vector<std::string>> options{{}}; ///< of one run after the other
};

const previewed_shop shops[] = {
    {"nothing wrong",
        article("A1", "<price>9</price><model>8</model><type>LED</type>")
            + article("A 2/b", "<price>9</price><model>8</model>"),
        price_region + region("model", R"(x_pos="100" y_pos="300" width="80" height="40")")
            + R"(<region name="brand"/><region name="warranty"/>)"},
    {"not shown", many_articles(), price_region, {}, {{"--article", "N40"}}},
    {"missing things",
        article("A1",
            "<brand>No NÀMÉ, éèêë éèêë éèêë éèêë "
            "éèêë</brand><price>9</price><usb>1</usb><hd>SD</hd><warranty>2</warranty>")
            + "<article><ovu>stand-1</ovu><channel>9</channel><price>9</price></article>",
        region("brand", R"(x_pos="500" y_pos="300" width="100" height="40")") + region("modle", "")
            + R"(<region name="price" width="9" height="0"><text font="Liberation Sans" size="9"/></region>)"
            + R"(<region name="warranty" width="50" height="50" x_pos="560"/><region name="price"/>)"},
    {"broken texts",
        article("A1", "<price>1 299 999</price><model>1 299 999</model>")
            + article("A2", "<price>" + std::string(257, 'i') + "</price>"),
        region("price", R"(x_pos="700" y_pos="560" width="80" height="40")")
            + region(
                "model", R"(x_pos="690" y_pos="10" width="9" height="10")", R"(adjustRegionSize="yes")")},
    {"text too high", article("A1", "<price>9</price>"),
        region("price", R"(x_pos="100" y_pos="200" width="80" height="10")")},
    {"region off the display", article("A1", "<price>9</price>"), region("price", R"(x_pos="-1")")},
    {"pictures",
        article("A1", "<brand>Noisy</brand>")
            + article("A2",
                "<brand>Ramp</brand><type>tall</type>"
                "<size>7</size>"),
        wide_logo},
    {"error that runs away", article("A1", "<brand>Ramp</brand>"),
        R"(<region name="brand" width="200" height="100"><image/></region>)"},
    {"regions in one place", article("A1", "<price>9</price><model>8</model>"),
        price_region + region("model", R"(x_pos="100" y_pos="200" width="80" height="40")")},
    {"labels",
        article("A1", "<price>9</price><size>80 cm (32\")</size>")
            + article("A2", "<price>9</price><hdmi>2</hdmi><usb>1</usb>")},
    {"enormous region", article("A1", "<price>9</price>"),
        R"(<region name="price" width="1000" height="500"><text font="Liberation Sans" size="9"/></region>)"},
    {"many prices", many_prices(), region("price", R"(width="9O" height="40")"), {}, {{"--all-hosts"}}},
    {"logo that is none", article("A1", "<brand>Bad</brand>"), wide_logo},
    {"malformed files", "<article></a>", "<broken"},
    {"another host", article("B1", "", "stand-2") + article("B2", "", "stand-2"), price_region,
        {{"PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet"}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "yes"}}},
    {"wrong options", article("A1", ""), price_region, {},
        {{"--colour"}, {"--output"}, {"--output", ""}, {"shop"}, {"--resources", std::string(127, 'a')},
            {"--resources", "/no/such"}, {"--background", "/no/such.png"}, {"--background", "1020FG"},
            {"--article", "A2"}, {"--output", "/dev/null/out"}, {"--serve", "--colour"}, {"-h"}}},
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
/// pixel passes on a little more than it got.
std::uint32_t runaway(int column, int /*line*/)
{
    const int grey = column < 32 ? 249 - 8 * column : 255;
    return 0xFF000000U | static_cast<std::uint32_t>(grey) * 0x010101U;
}

std::uint32_t white(int /*column*/, int /*line*/)
{
    return 0xFFFFFFFFU;
}

/// `argb` gives the pixel (0xAARRGGBB) of a column and line.
void write_png(const temporary_folder& folder, const std::string& name, int width, int height,
    std::uint32_t (*argb)(int column, int line))
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

void write_files(const temporary_folder& folder, const previewed_shop& shop)
{
    write_file(folder, "infostv.xml", "<a>\n" + shop.articles + "</a>\n");
    write_file(folder, "layout.xml", "<l>\n" + shop.layout + "</l>\n");
    write_file(folder, "referencieltv.xml", "<r/>");
    write_file(folder, "bad.png", "no picture");
    write_png(folder, "led.png", 176, 137, white);
    write_png(folder, "size.png", 176, 137, white);
    write_png(folder, "tall.png", 10, 200, white);
    write_png(folder, "hdmi.png", 1, 500, white);
    write_png(folder, "noisy.png", 590, 560, noise);
    write_png(folder, "ramp.png", 200, 100, runaway);
}

/// All that a run says, with its status.
std::string run_of(const temporary_folder& folder, std::vector<std::string> options)
{
    options.insert(options.begin(),
        {"tsinsert-preview", "--resources", folder.path.string(), "--output",
            (folder.path / "out").string()});
    std::vector<char*> argv;
    argv.reserve(options.size() + 1);
    for (std::string& word : options)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    int status = -1;
    std::string report;
    const std::string messages = stderr_of([&] {
        report = stdout_of([&] { status = run_preview(static_cast<int>(options.size()), argv.data()); });
    });
    const std::string all =
        "status " + std::to_string(status) + "\n" + report + "--- standard error\n" + messages + "\n";
    return std::regex_replace(all, std::regex(folder.path.string()), "FOLDER");
}

struct host_settings {
    environment named{
        {"PREF_SYSTEM_NETWORK_HOSTNAME", "stand-1"}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}};
};

} // namespace

TEST(Preview, ReportsWhatItReported)
{
    for (const previewed_shop& shop : shops) {
        const host_settings settings;
        for (const auto& [name, value] : shop.settings)
            setenv(name.c_str(), value.c_str(), 1);
        const temporary_folder folder;
        write_files(folder, shop);
        std::string runs;
        for (const auto& options : shop.options)
            runs += run_of(folder, options);
        for (const auto& [name, value] : shop.settings)
            unsetenv(name.c_str());
        const auto path =
            std::filesystem::path(REPORTS) / (std::regex_replace(shop.name, std::regex(" "), "-") + ".txt");
        if (std::getenv("UPDATE_RECORDS") != nullptr)
            std::ofstream(path, std::ios::binary) << runs;
        EXPECT_EQ(runs, read_file(path)) << shop.name;
    }
}

// A shop in which nothing is wrong, and what is found when a mistake is planted in it.

const std::string sound_articles = R"(<shop>
<article code="T1">
<ovu>stand-1</ovu>
<channel>21</channel>
<brand>Arbaro</brand>
<model>Gipfel 32</model>
<price>219 €</price>
<size>32"</size>
<tuner>HD</tuner>
</article>
<article code="T2">
<ovu>stand-1</ovu>
<channel>22</channel>
<model>Gipfel 40</model>
<price>99</price>
</article>
</shop>
)";
const std::string sound_layout = R"(<layout>
<region name="model" x_pos="36" y_pos="470" width="336" height="46">
<text font="Liberation Sans" size="36" foregroundColor="FFFFFFFF" backgroundColor="FF0F1B2D"/>
</region>
<region name="price" x_pos="372" y_pos="447" width="220" height="69">
<text font="Sans" size="20" foregroundColor="FF101820" backgroundColor="FFFFC20E"/>
</region>
<region name="brand" x_pos="36" y_pos="422" width="160" height="48"><image/></region>
<region name="warranty" x_pos="36" y_pos="516" width="556" height="32"/>
</layout>
)";
const std::string sound_reference = R"(<catalogue>
<article code="T1">
<hdmi>2</hdmi>
</article>
</catalogue>
)";

struct planted_mistake {
    std::string file;
    std::string sound; ///< is replaced
    std::string mistaken;
    std::string line; ///< of the finding, from its position to its severity; the folder and column apart
    std::vector<std::string> words; ///< in the finding
};

const planted_mistake mistakes[] = {
    {"layout", "FF0F1B2D", "#0F1B2D", "layout.xml:3: error", {"ground", "invisible", "00000000", "FF0F1B2D"}},
    {"layout", "FFFFFFFF", "yellow", "layout.xml:3: error",
        {"text is invisible", "FFFFFF00", "region model"}},
    {"layout", "FF0F1B2D", "FFFFFFFF", "layout.xml:3: error", {"1.0 : 1", "3.0 : 1", "2 times: T1, T2"}},
    {"layout", "FF101820", "FFFFFFFF", "layout.xml:6: error", {"1.6 : 1", "4.5 : 1", "region price"}},
    {"layout", "FF0F1B2D", "200F1B2D", "layout.xml:3: warning", {"not opaque", "3.0 : 1"}},
    {"infostv", "219 €", "219 &#8364;", "infostv.xml:7: error",
        {"only \"219\" of \"219 €\"", "&#8364;", "T1"}},
    {"infostv", "Gipfel 32", "Gipfel &amp; 32", "infostv.xml:6: error", {"only \"Gipfel\"", "CDATA"}},
    {"infostv", "Gipfel 32", "\nGipfel 32", "infostv.xml:6: error",
        {"a box instead of \"Gipfel 32\"", "line break"}},
    {"infostv", "<model>Gipfel 32</model>", "<modle>Gipfel 32</modle>", "infostv.xml:6: error",
        {"\"modle\"", "did you mean \"model\"?", "article T1, host stand-1"}},
    {"infostv", "<model>Gipfel 32</model>", "<model> \n</model>", "infostv.xml:6: warning",
        {"\"model\" holds only blanks", "leave the element out"}},
    {"infostv", "<size>32\"</size>", "<colour>32</colour>", "infostv.xml:8: warning",
        {R"("colour")", R"(known here: "model", "brand", ")"}},
    {"infostv", "code=\"T1\"", R"(shelf="3" code="T1")", "infostv.xml:2: error", {"not the first attribute"}},
    {"layout", "foregroundColor=\"FF101820\"", "foregroundColour=\"FF101820\"", "layout.xml:6:29: error",
        {"\"foregroundColour\"", "did you mean \"foregroundColor\"?"}},
    {"layout", "\"price\"", "\"prise\"", "layout.xml:5: error", {"never shown", "\"price\"?"}},
    {"infostv", "<channel>21</channel>\n", "", "infostv.xml:2: error", {"no channel", "1 to 1023"}},
    {"infostv", ">21<", ">twelve<", "infostv.xml:4: error", {"\"twelve\" is not a number"}},
    {"infostv", ">21<", ">5000<", "infostv.xml:4: error", {"5000", "at 904"}}, // 5000 - 4 x 1024
    {"infostv", ">22<", ">21<", "infostv.xml:13: error", {"article T1 too", "screen 2"}},
    {"infostv", "\"T2\"", "\"T1\"", "infostv.xml:11: error", {"not completed from the reference file"}},
    {"infostv", ">stand-1<", "> stand-1<", "infostv.xml:3: error", {"\" stand-1\"", "shown nowhere"}},
    {"infostv", "<tuner>HD", "<tuner>HD ", "infostv.xml:9: error", {"\"HD \" has blanks", "no icon"}},
    {"infostv", "<tuner>HD", "<tuner>H&#68;", "infostv.xml:9: error", {"\"HD\" comes in pieces"}},
    {"infostv", "<tuner>HD", "<tuner>DVB HD", "infostv.xml:9: warning", {R"("DVB HD" is not "HD")"}},
    {"infostv", "<tuner>HD</tuner>", "<threeD>raedy</threeD>", "infostv.xml:9: error",
        {R"("raedy" is not "READY")"}},
    {"infostv", "219 €", "&#160;219 €", "infostv.xml:7: error", {"behind \"&#160;\""}},
    {"infostv", "Gipfel 32", "Gipfel <![CDATA[& 32]]>", "infostv.xml:6: error", {"a CDATA section"}},
    {"infostv", "<model>Gipfel 40</model>", "<model></model>", "infostv.xml:11: warning", {"no model"}},
    {"infostv", "<model>Gipfel 40</model>\n<price>99</price>", "", "infostv.xml:11: error",
        {"neither model, price nor brand"}},
    {"infostv", "stand-1</ovu>\n<channel>22", "Stand-1</ovu>\n<channel>22", "infostv.xml:12: warning",
        {R"("Stand-1" is not "stand-1")", "letter case"}},
    {"referencieltv", "\"T1\"", "\"t1 \"", "infostv.xml:2: warning", {"no article \"T1\"", "mean \"t1 \"?"}},
    {"infostv", ">21<", ">2&#49;<", "infostv.xml:4: error", {"\"21\" counts as 1"}},
    {"infostv", ">21<", ">21</channel><channel>x<", "infostv.xml:4: error", {"the one before it counts"}},
    {"infostv", ">21<", ">99999999999<", "infostv.xml:4: error", {"\"99999999999\" counts as 1215752191"}},
    {"layout", "FFFFC20E", " FFFFC20E", "layout.xml:6: warning",
        {"counts as FFFFC20E", "write \"FFFFC20E\""}},
    {"layout", "FF0F1B2D", "0F0F1B2D", "layout.xml:3: error", {"hardly visible", "opacity 6 %"}},
    {"infostv", ">Arbaro<", ">Arbaro <", "infostv.xml:5: error",
        {"write the brand without the blanks around it (art"}},
    {"infostv", ">Arbaro<", ">Arbàro<", "infostv.xml:5: error",
        {"-> rename \"arbaro.png\" to \"arbàro.png\" (art"}},
    {"infostv", ">Arbaro<", ">Arbàro <", "infostv.xml:5: error", {"around it; rename \"arbaro.png\""}},
    {"infostv", "<tuner>HD</tuner>", "<threeD>READY</threeD>", "infostv.xml:9: warning",
        {"no icon \"3dready.png\""}},
    {"infostv", "32\"</size>", "80 cm (32\")</size>", "infostv.xml:8: error", {"is cut", "region banner"}},
    {"layout", "<image/>", "<image keepRatio=\"YES\"/>", "layout.xml:8: error",
        {R"("YES" counts as no)", R"(write "yes" or "no")"}},
    {"layout", "width=\"336\"", "width=\"32768\"", "layout.xml:2: error",
        {"32768x46 pixels cannot be drawn"}},
    {"layout", "Liberation Sans", "Liberty Sand", "layout.xml:3: error", {"not installed", "DejaVu Sans"}},
    {"infostv", "Gipfel 32", "Gipfel 山", "infostv.xml:6: error", {"lacks the character \"山\""}},
    {"infostv", ">Arbaro<", ">Falada<", "infostv.xml:5: error",
        {"name is drawn", "\"Falada.png\"", "\"falada.png\""}},
    {"infostv", "Arbaro</brand>\n<model>Gipfel 32</model>", "Photo</brand>", "photo.png: error",
        {"a WebP picture", "does not start"}},
    {"infostv", "<price>", "<price>first</price><price>", "infostv.xml:7: warning", {"comes twice"}},
    {"referencieltv", "hdmi>", "hdmy>", "referencieltv.xml:3: error", {"\"hdmi\"", "T1"}},
    {"referencieltv", "hdmi>", "usb>", "referencieltv.xml:3: warning", {"no icon \"usb.png\"", "T1"}},
    {"referencieltv", "code=", "codex=", "referencieltv.xml:2: error", {"ignores the whole article"}},
};

std::string replaced(const std::string& text, const planted_mistake& mistake, const std::string& file)
{
    std::string result = text;
    for (std::size_t at = 0;
         mistake.file == file && (at = result.find(mistake.sound, at)) != std::string::npos;
         at += mistake.mistaken.size())
        result.replace(at, mistake.sound.size(), mistake.mistaken);
    return result;
}

void plant(const temporary_folder& folder, const planted_mistake& mistake)
{
    write_file(folder, "infostv.xml", replaced(sound_articles, mistake, "infostv"));
    write_file(folder, "layout.xml", replaced(sound_layout, mistake, "layout"));
    write_file(folder, "referencieltv.xml", replaced(sound_reference, mistake, "referencieltv"));
    write_file(folder, "photo.png", "RIFF____WEBPVP8 and so on");
    for (const char* name : {"arbaro.png", "Falada.png", "size.png", "tunerhd.png", "hdmi.png"})
        write_png(folder, name, 176, 137, white);
}

/// The finding at that line, with all that belongs to it.
std::string finding_at(const std::string& report, const std::string& line)
{
    const std::size_t colon = line.rfind(':');
    const std::regex pattern(
        "FOLDER/" + line.substr(0, colon) + "(:\\d+)?" + line.substr(colon) + "[^]*?\n\n");
    std::string all;
    for (std::sregex_iterator each(report.begin(), report.end(), pattern), end; each != end; ++each)
        all += std::regex_replace(each->str(), std::regex("\n +"), " ");
    return all;
}

TEST(Preview, FindsMistakesBeforeViewersDo)
{
    const host_settings settings;
    for (const planted_mistake& mistake : mistakes) {
        const temporary_folder folder;
        plant(folder, mistake);
        const std::string report = run_of(folder, {"--strict"});
        EXPECT_EQ(report.substr(0, 9), "status 1\n") << mistake.mistaken;
        const std::string found = finding_at(report, mistake.line);
        EXPECT_EQ(report.find("cannot prepare"), std::string::npos) << "another finding tells why";
        EXPECT_TRUE(found.rfind("FOLDER/") == 0 && found.find("T1, T1") == std::string::npos)
            << "told of twice:\n"
            << found;
        for (const std::string& word : mistake.words)
            EXPECT_NE(found.find(word), std::string::npos) << mistake.mistaken << ": " << word << "\n"
                                                           << report;
    }
    const temporary_folder folder;
    plant(folder, {});
    const std::string report = run_of(folder, {"--strict"});
    EXPECT_EQ(report.substr(0, 9), "status 0\n");
    EXPECT_NE(report.find("All is well."), std::string::npos) << report;
}

TEST(Preview, SaysWhyThereIsNothingToSee)
{
    const host_settings settings;
    const temporary_folder folder;
    plant(folder, {});
    const auto nothing = HasSubstr("no article of the file names a host");
    write_file(folder, "infostv.xml", "<a></a>");
    EXPECT_THAT(run_of(folder, {}), nothing);
    std::filesystem::remove(folder.path / "infostv.xml");
    EXPECT_THAT(run_of(folder, {}), AllOf(HasSubstr("reading and writing (No such file"), Not(nothing)));
    EXPECT_THAT(run_of(folder, {"--all-hosts"}), Not(nothing));
    std::filesystem::create_symlink("/proc/self/mem", folder.path / "infostv.xml"); // nothing at 0
    EXPECT_THAT(run_of(folder, {}), HasSubstr("has more than 2 GB or cannot be read"));
}

TEST(Preview, KeepsTheEndOfWhatWasSaid)
{
    const silence messages(stderr);
    std::fputs((std::string(500, 'a') + "\nb\n").c_str(), stderr);
    EXPECT_EQ(messages.said(), std::string(497, 'a') + "; b");
}

TEST(Preview, TellsKindsOfFilesThatAreNoPictures)
{
    const temporary_folder folder;
    for (const auto& [content, kind] :
        {std::pair{"<svg xmlns", "an SVG drawing"}, {"\xFF\xD8\xFF\xE0", "a JPEG picture"},
            {"0000ftypavif", "an AVIF or HEIC picture"}, {"<html>", "no picture"}, {"", "an empty file"}})
        EXPECT_EQ(kind_of_file(write_file(folder, "file", content)), kind);
    EXPECT_EQ(neighbour_of({"logo.fr.jpg", "Logo.png.jpg"}, "logo.png"), "Logo.png.jpg");
}

TEST(Preview, ListsAHundredFindingsOfAKind)
{
    finding_groups groups;
    for (std::uint32_t line = 1; line <= 102; ++line)
        add_finding(groups, {.kind = "unknown-element", .at = {.line = line, .column = 7}});
    add_finding(groups, {.kind = "no-code", .at = {.line = 1, .column = 7}});
    EXPECT_EQ(groups.groups.size(), 101U);
    EXPECT_EQ(groups.unlisted, 2U);
    EXPECT_EQ(groups.groups.begin()->second.places.at(0).column, 7U);
}

TEST(Preview, TakesPortsInDigits)
{
    EXPECT_EQ(port_of("65535"), 65535);
    for (const char* text : {"", "65536", "-1", "80x"})
        EXPECT_EQ(port_of(text), std::nullopt) << text;
}

nlohmann::json json_of(const std::string& run)
{
    const std::size_t begin = run.find('\n') + 1;
    return nlohmann::json::parse(run.substr(begin, run.find("--- standard error") - begin));
}

/// What a report has of a host: kind, sentence and place.
std::set<std::string> found_on(const nlohmann::json& report, const std::string& host)
{
    std::set<std::string> found;
    for (const auto& finding : report["findings"])
        for (const auto& place : finding["places"])
            if (place["host"] == host)
                found.insert(
                    finding["kind"].dump() + finding["what"].dump() + finding["file"].dump() + place.dump());
    return found;
}

TEST(Preview, FindsOnAllHostsWhatItFindsOnEach)
{
    const host_settings settings;
    const temporary_folder folder;
    plant(folder, {});
    write_file(folder, "infostv.xml",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\n"
            + article("T1", "<price>&#8364;</price><usb>3</usb>", "b")
            + article("T2", "<brand>Falada</brand>", "c") + article("T1", "<modle/><channel>1</channel>", "b")
            + article("T3", "<price>9</price>", " c") // which is no host
            + many_articles() + "</a>\n");
    const auto all = json_of(run_of(folder, {"--all-hosts", "--format", "json"}));
    const auto& summary = all["summary"];
    EXPECT_EQ(summary["hosts"], 4);
    EXPECT_EQ(summary["articles"], 44); // of "b", "c", "stand-1" (40 of 41) and "stand-2"
    EXPECT_EQ(summary["dropped_over_forty"], 1);
    for (const char* host : {"b", "c", "stand-1"}) {
        const auto one = found_on(json_of(run_of(folder, {"--host", host, "--format", "json"})), host);
        EXPECT_FALSE(one.empty()) << host;
        EXPECT_EQ(one, found_on(all, host)) << host;
    }
    const auto strange = json_of(run_of(folder, {"--host", "caf\xE9", "--format", "json"}));
    EXPECT_NE(strange.dump().find("caf\xEF\xBF\xBD"), std::string::npos);
    setenv("PREF_SYSTEM_NETWORK_HOSTNAME", "stand-1", 1);
}

TEST(Preview, ShowsTheScreenOfAnArticle)
{
    const host_settings settings;
    const temporary_folder folder;
    write_files(folder, shops[0]);
    write_png(
        folder, "ground.png", 2, 1, [](int column, int) { return column == 0 ? 0xFFFF0000 : 0x00000000; });
    run_of(folder, {"--background", (folder.path / "ground.png").string()});
    EXPECT_TRUE(std::filesystem::exists(folder.path / "out/screen-2-A_2_b.png"));
    const auto shown = make_background((folder.path / "out/screen-1-A1.png").string()).pixels;
    constexpr rgba_pixel white_pixel{255, 255, 255, 255};
    constexpr rgba_pixel black{0, 0, 0, 255};
    constexpr rgba_pixel red{255, 0, 0, 255};
    constexpr rgba_pixel grey{0x60, 0x60, 0x60, 255};
    const struct {
        std::size_t column;
        std::size_t line;
        rgba_pixel colour;
    } pixels[] = {
        {99, 200, red}, {179, 200, white_pixel}, {180, 200, red}, // the region's ground
        {603, 14, white_pixel}, {603, 100, black},                // the icon at the banner's top
        {5, 5, red}, {715, 570, grey}, // the picture beneath, and what is beneath it
    };
    for (const auto& [column, line, colour] : pixels)
        EXPECT_EQ(shown.at(720 * line + column), colour) << column;
    // The signature and the IHDR chunk of a PNG, as far as width and height (720 and 576).
    const std::string png = "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAtAAAAJA";
    for (const auto& [ground, picture] : {std::pair{"606060", std::string()}, {"ground.png", png}}) {
        const auto path = folder.path / ground;
        const bool is_file = std::filesystem::exists(path);
        const auto page =
            json_of(run_of(folder, {"--format", "page", "--background", is_file ? path : ground}));
        EXPECT_EQ(page["background"]["picture"].get<std::string>().substr(0, png.size()), picture);
        EXPECT_TRUE(page["screens"][0]["drawn"].get<std::string>().starts_with(png));
    }
}

TEST(Preview, SaysWhyADrawingDoesNotStart)
{
    const process_end end = run_again({"preview", std::string(1U << 20U, 'a')}, std::chrono::seconds(1), -1);
    EXPECT_EQ(end.status, -1);
    EXPECT_EQ(end.failure, "Argument list too long");
}

TEST(Preview, ShowsAnArticleAloneAsAmongAll)
{
    // A text of 7 pixels changes how the font is hinted from then on.
    const host_settings settings;
    const temporary_folder folder;
    write_files(folder,
        {.name = "small text before",
            .articles = article("A1", "<model>abc</model>") + article("A2", "<price>1 299</price>"),
            .layout = price_region + R"(<region name="model" width="80" height="40">
                    <text font="Liberation Sans" size="7" foregroundColor="FFFFFFFF"/></region>)"});
    run_of(folder, {"--article", "A2"});
    EXPECT_FALSE(std::filesystem::exists(folder.path / "out/screen-1-A1.png"));
    const auto alone = read_file(folder.path / "out/screen-2-A2.png");
    run_of(folder, {});
    EXPECT_EQ(alone, read_file(folder.path / "out/screen-2-A2.png"));
}

/// A drawing whose screens have these codes and, when they are prepared, their codes as pictures.
process_end drawing(const std::vector<std::string>& codes, bool prepared, const std::string& unreadable)
{
    nlohmann::json page{{"findings", nlohmann::json::array()}, {"screens", nlohmann::json::array()},
        {"trouble", {{{"file", unreadable}, {"what", "cannot be read"}}}}};
    for (const std::string& code : codes)
        page["screens"].push_back({{"code", code}, {"prepared", prepared}, {"picture", prepared ? code : ""},
            {"drawn", ""}, {"regions", nlohmann::json::array()}});
    return {.status = 1, .output = page.dump()};
}

TEST(Preview, ServesTheLastGoodScreens)
{
    served_page page;
    const auto take = [&](const process_end& drawn) {
        take_drawing(page, drawn);
        std::string pictures;
        const auto document = nlohmann::json::parse(page.document);
        for (const auto& screen : document["screens"])
            pictures += screen["picture"].get<std::string>() + ";";
        return pictures;
    };
    EXPECT_EQ(take(drawing({"a", "b", "b"}, true, "referencieltv.xml")), "a;b;b;"); // it was never there
    EXPECT_EQ(take(drawing({}, true, "infostv.xml")), "a;b;b;");
    EXPECT_EQ(line_about(page), "infostv.xml cannot be read");
    EXPECT_EQ(take(drawing({"b", "b", "a"}, false, "referencieltv.xml")), ";;a;");
    take({.messages = "it has crashed\n"});
    EXPECT_EQ(line_about(page), "the screens cannot be drawn: it has crashed");
}

TEST(Preview, WatchesTheFilesOfTheShopAlone)
{
    const temporary_folder folder;
    const auto state = [&] { return state_of_files(folder.path.string(), "606060"); };
    const std::string before = state();
    write_file(folder, "log.txt", "drawn");
    EXPECT_EQ(state(), before);
    for (const char* name : {"infostv.xml", "Logo.PNG"}) {
        const std::string unchanged = state();
        write_file(folder, name, "new");
        EXPECT_NE(state(), unchanged) << name;
    }
}

TEST(Preview, LaysScreensOverTheBackgroundByOpacity)
{
    EXPECT_EQ(make_background("#1020fA").pixels.at(9), (rgba_pixel{0x10, 0x20, 0xFA, 255}));
    const background ground{.pixels = {3, {200, 100, 0, 255}}};
    const screen_picture screen{
        .width = 3, .height = 1, .pixels = {{0, 0, 0, 0}, {9, 8, 7, 255}, {100, 0, 1, 128}}};
    const auto pixels = lay_over(ground, screen);
    EXPECT_EQ(pixels[0], (rgba_pixel{200, 100, 0, 255}));
    EXPECT_EQ(pixels[1], (rgba_pixel{9, 8, 7, 255}));
    EXPECT_EQ(pixels[2], (rgba_pixel{150, 50, 1, 255})); // 149.8, 49.8 and 0.5
}
