#include "emulated_run.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

// Whole runs, compared with the records of runs that somebody has read against the standards: how the daemon
// ends, what it says, and every request of the bus. No case draws text, so that none depends on fonts. After
// a change that is meant, UPDATE_RECORDS=1 writes the records anew: read what git shows of them.

namespace {

using settings = std::vector<std::pair<std::string, std::string>>;

settings with(settings base, const settings& more)
{
    base.insert(base.end(), more.begin(), more.end());
    return base;
}

const settings none;
const settings services{
    {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}, {"PREF_SYSTEM_NETWORK_HOSTNAME", "shop-tv-1"}};
const settings tables{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"}, {"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"}, {"PREF_SYSTEM_ENCODER_1_NIT_VERSION", "33"},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", "\xC9t\xE9 network of thirty bytes..."},
    {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "true"}, {"PREF_SYSTEM_ENCODER_1_LCN", "1022"},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", "A service of many words"},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", "A provider of many words"},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE", "25"}, {"PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", "H264"},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "true"}, {"PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", "MPEG4 AAC-LC"}};
const settings other_tables{{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "-2"},
    {"PREF_SYSTEM_ENCODER_1_TS_ID", "+70000x"}, {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", " 99999999999999999999"},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", ""}, {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", ""},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", ""}, {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "TRUE"},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE", "50 fps"}, {"PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", "h264"},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", "MPEG4 AAC-LC"}, {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "True"}};

// The shops: articles, and a layout that has only images and a text without a font.

const std::string three_articles = R"(<infostv><other/>
<article code="A"><ovu>shop-tv-1</ovu><channel> 21 </channel><brand>Norvane</brand><tuner>hd</tuner>
<threeD>Ready</threeD><usb>0</usb><model>A</model></article>
<article code="C"><ovu>other-tv</ovu><channel>23</channel><brand>Kilduna</brand><type>OLED</type></article>
<article code="B"><ovu>shop-tv-1</ovu><channel>1025</channel><brand>Ovrelle</brand><type>LED</type>
<hd>HDready</hd><hdmi>0</hdmi><frame><model/></frame><price>1<b/></price></article>
<article code="D"><ovu>shop-tv-1</ovu><channel>-1</channel><tuner>SD</tuner></article></infostv>)";
const std::string reference = R"(<r><article code="D"><type>OLED</type><channel>7</channel></article>
<article code="A"><type>plasma</type></article><article code="X"><type>LED</type></article></r>)";
const std::string layout = R"(<layout>
<region name="brand" x_pos="36" y_pos="300" width="161" height="48"><image keepRatio="yes"/></region>
<region name="model" x_pos="36" y_pos="470" width="336" height="46"><text colour="1" size="0"
foregroundColor="FFFFFFFF" backgroundColor="E60F1B2D"/><frame/></region></layout>)";

std::string many_articles()
{
    std::string text = "<infostv>";
    for (int i = 0; i < 45; ++i)
        text += "<article><ovu>shop-tv-1</ovu><channel>" + std::to_string(101 + i) + "</channel></article>";
    return text + "</infostv>";
}

struct recorded_run {
    std::string name;
    std::vector<std::string> options; ///< of the emulator
    settings set;
    std::string articles{}; ///< their file; empty: no shop
    std::pair<std::string, std::string> replaced_file =
        {}; ///< its name, and its content; empty: no such file
};

const recorded_run runs[] = {
    {"new generation", {"--duration", "25"}, none},
    {"new generation, clock set back", {"--duration", "70", "--set-clock", "25:-3600"}, none},
    {"new generation, all settings", {"--duration", "22"}, tables},
    {"old generation", {"--duration", "22", "--generation", "2"}, services},
    {"old generation, all settings",
        {"--duration", "22", "--generation", "0", "--start", "2028-02-28 23:59:50"}, other_tables},
    {"generation 258", {"--duration", "1", "--generation", "258"}, tables},
    {"output on Ethernet", {}, {{"PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet"}}},
    {"output elsewhere", {"--duration", "1"}, {{"PREF_SYSTEM_STREAMER_1_OUTPUT", "ethernet "}}},
    {"no version file", {"--generation", "none"}, none},
    {"no number in it", {"--generation", "three"}, none},
    {"three services", {"--duration", "23", "--bus-clock", "800000"}, with(services, tables), three_articles},
    {"slow device", {"--duration", "12", "--packet-rate", "60", "--bus-clock", "0"}, services,
        three_articles},
    {"forty services", {"--duration", "4", "--bus-clock", "800000", "--packet-rate", "3000"},
        with(services, tables), many_articles()},
    {"no host name", {"--duration", "1"}, {services[0]}, three_articles},
    {"no article of the host", {"--duration", "1"}, with(services, {{"PREF_SYSTEM_NETWORK_HOSTNAME", "x"}}),
        three_articles, {"layout.xml", "<broken"}},
    {"no article file", {"--duration", "1"}, services, three_articles, {"infostv.xml", ""}},
    {"article file cut off", {"--duration", "1"}, services, three_articles.substr(0, 400)},
    {"reference file broken", {"--duration", "1"}, services, three_articles,
        {"referencieltv.xml", "<r><article code='A'><channel>77</channel></article><broken"}},
    {"no layout file", {"--duration", "1"}, services, three_articles, {"layout.xml", ""}},
    {"logo that is no picture", {}, services, three_articles, {"norvane.png", "text"}},
    {"no logo", {"--duration", "1"}, services, three_articles, {"norvane.png", ""}},
    {"icon that is no picture", {"--duration", "1"}, services, three_articles, {"tunerhd.png", "text"}},
    {"region off the display", {}, services, three_articles,
        {"layout.xml", "<l><region name='brand' x_pos='721' width='9' height='9'/></l>"}},
    {"slot 0 stuck", {"--stuck-slot", "0", "--bus-clock", "0"}, services, three_articles},
    {"slot 1 stuck", {"--stuck-slot", "1"}, none},
    {"slot 0 not acknowledged", {"--no-acknowledge", "0"}, services, three_articles},
    {"slot 1 not acknowledged", {"--no-acknowledge", "1", "--packet-rate", "100000"}, services,
        three_articles},
    {"first test of slot 0 refused", {"--fail", "read-byte:3"}, none},
    {"test whether slot 1 is acknowledged refused", {"--fail", "read-byte:7", "--packet-rate", "100000"},
        services, three_articles},
};

// The record of a run

/// FNV-1a, 64 bits.
std::uint64_t hash_of(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char character : text)
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    return hash;
}

/// What is repeated as often as a slot is polled stands there twice.
std::string without_repetitions(const std::vector<std::string>& lines)
{
    const auto what = [&](std::size_t i) { return lines[i].substr(lines[i].find(' ')); }; // without the time
    std::string text;
    std::size_t repeated = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i >= 4 && i + 1 < lines.size() && what(i) == what(i - 2) && what(i) == what(i - 4)) {
            ++repeated;
            continue;
        }
        if (repeated != 0)
            text += "... " + std::to_string(repeated) + " more of these ...\n";
        repeated = 0;
        text += lines[i] + "\n";
    }
    return text;
}

/// A long record is its beginning, and the hash of all.
std::string shortened(const std::string& text)
{
    constexpr std::size_t length_max = 24'000;
    if (text.size() <= length_max)
        return text;
    const std::size_t end = text.rfind('\n', length_max) + 1;
    return text.substr(0, end) + "... " + std::to_string(text.size()) + " bytes in all, hash "
        + std::to_string(hash_of(text)) + "\n";
}

std::string record_of(const recorded_run& recorded)
{
    const temporary_folder folder;
    run_request request{.options = recorded.options, .settings = recorded.set};
    request.settings.emplace_back("ASAN_OPTIONS", "detect_leaks=0"); // whose words are not the daemon's
    if (!recorded.articles.empty()) {
        write_shop(folder, 0);
        write_file(folder, "infostv.xml", recorded.articles);
        write_file(folder, "referencieltv.xml", reference);
        write_file(folder, "layout.xml", layout);
        request.options.insert(request.options.end(), {"--resources", folder.path.string()});
    }
    const auto& [name, content] = recorded.replaced_file;
    if (!name.empty() && content.empty())
        std::filesystem::remove(folder.path / name);
    else if (!name.empty())
        write_file(folder, name, content);
    const run_result result = run_daemon_emulated(request);
    std::vector<std::string> lines;
    std::istringstream requests(result.record);
    for (std::string line; std::getline(requests, line);)
        lines.push_back(line);
    const std::size_t clock = std::min(result.summary.find("clock: "), result.summary.size());
    return result.daemon_end + "\n" + result.summary.substr(clock, result.summary.find('\n', clock) - clock)
        + "\n\n" + result.output + "\n" + result.errors + "\n" + shortened(without_repetitions(lines));
}

} // namespace

TEST(Recorded, RunsAreWhatTheyWere)
{
    for (const recorded_run& recorded : runs) {
        const auto path = std::filesystem::path(RECORDS)
            / (std::regex_replace(recorded.name, std::regex("\\W+"), "-") + ".txt");
        const std::string record = record_of(recorded);
        if (std::getenv("UPDATE_RECORDS") != nullptr)
            std::ofstream(path, std::ios::binary) << record;
        EXPECT_EQ(record, read_file(path)) << recorded.name;
    }
}

TEST(Recorded, OutputReachesAPipeLineByLine)
{
    const temporary_folder folder;
    const std::string pipe = (folder.path / "pipe").string();
    const std::string daemon = command_line({{"--clock", "real", "--duration", "1h"}});
    EXPECT_EQ(output_of_command("(mkfifo " + pipe + "; " + daemon + " >" + pipe + " & timeout 20 head -n 3 "
                  + pipe + "; kill -KILL $!)"),
        "Detect EPLD version 3\nNo subtitle to play\nUse 2 slots of 8 packets \n");
}
