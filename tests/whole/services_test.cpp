#include "shop_files.h"
#include "ts_reader.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <sstream>

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::StartsWith;

// How the files in the resources directory become services.

namespace {

constexpr const char* at_work = "daemon: at work when the run ended";
constexpr const char* failed = "daemon: ended with status 234";
const std::string resources = "/usr/playout/.medias/resources/";
const std::string two_services = "2 subtitle services to play\nUse 2 slots of 8 packets \n";
const std::string no_service = "No subtitle to play\nUse 2 slots of 8 packets \n";

/// A shop of two articles, and what is different in it.
struct shop_case {
    const char* what;
    std::vector<std::string> removed_files;
    std::vector<std::string> broken_files;
    setting_list settings;
    std::string output;              ///< behind the generation
    std::vector<std::string> errors; ///< beginnings of the lines
    std::string end = at_work;
};

const shop_case shops[] = {
    {"two articles", {}, {}, {}, two_services, {}},
    {"no article of this host: nothing else is read", {}, {"referencieltv.xml", "layout.xml"},
        {{"PREF_SYSTEM_NETWORK_HOSTNAME", "shop-tv-9"}}, no_service, {}},
    {"no article file", {"infostv.xml"}, {}, {}, no_service, {"Cannot open " + resources + "infostv.xml"}},
    {"other files malformed", {}, {"referencieltv.xml", "layout.xml"}, {}, two_services,
        {"XML parsing failed", "XML parsing failed"}},
    {"no layout file", {"layout.xml"}, {}, {}, two_services, {"Cannot open " + resources + "layout.xml"}},
    {"a logo that is no picture", {}, {"norvane.png"}, {}, "2 subtitle services to play\n",
        {"Error: Cannot render image " + resources + "norvane.png: ", "cannot add image: "}, failed},
};

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

run_request run_of(const shop_case& shop, const temporary_folder& folder)
{
    write_shop(folder, 2);
    for (const std::string& name : shop.removed_files)
        std::filesystem::remove(folder.path / name);
    for (const std::string& name : shop.broken_files)
        write_file(folder, name, "<article");
    run_request request = shop_run(folder, {"--duration", "1"});
    request.settings.insert(request.settings.end(), shop.settings.begin(), shop.settings.end());
    request.settings.emplace_back(
        "ASAN_OPTIONS", "detect_leaks=0"); // whose words would be taken for the daemon's
    return request;
}

byte_string front(const byte_string& bytes, std::size_t size)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(size, bytes.size()))};
}

void add(byte_string& bytes, std::initializer_list<int> values)
{
    for (const int value : values)
        bytes.push_back(static_cast<std::uint8_t>(value));
}

} // namespace

TEST(Services, AreMadeOfWhatTheFilesHold)
{
    for (const shop_case& shop : shops) {
        const temporary_folder folder;
        const run_result result = run_daemon_emulated(run_of(shop, folder));
        EXPECT_EQ(result.daemon_end, shop.end) << shop.what << result.errors;
        EXPECT_EQ(result.output, "Detect EPLD version 3\n" + shop.output) << shop.what;
        const auto errors = lines_of(result.errors);
        ASSERT_EQ(errors.size(), shop.errors.size()) << shop.what << result.errors;
        for (std::size_t i = 0; i < errors.size(); ++i)
            EXPECT_THAT(errors[i], StartsWith(shop.errors[i])) << shop.what;
        EXPECT_EQ(result.requests.empty(), shop.end == failed) << shop.what;
    }
}

TEST(Services, NeedAHostName)
{
    const temporary_folder folder;
    write_shop(folder, 2);
    run_request request = shop_run(folder, {"--duration", "1"});
    std::erase_if(request.settings,
        [](const auto& setting) { return setting.first == "PREF_SYSTEM_NETWORK_HOSTNAME"; });
    EXPECT_EQ(run_daemon_emulated(request).output, "Detect EPLD version 3\n" + no_service);
}

TEST(Services, ShowTheBannerAloneWithoutALayout)
{
    const temporary_folder folder;
    write_shop(folder, 1);
    std::filesystem::remove(folder.path / "layout.xml");
    const std::string stream = (folder.path / "stream.ts").string();
    run_daemon_emulated(shop_run(folder, {"--duration", "5"}), stream);
    const ts_content content = read_stream(stream);
    ASSERT_FALSE(content.pes_packets.empty());
    const byte_string pes = content.pes_packets[0].bytes;
    EXPECT_EQ(byte_string(pes.begin() + 14, pes.begin() + 14 + 30),
        bytes_of("20 00 "                                       // data_identifier, subtitle_stream_id
                 "0F 10 00 01 00 08 FA 08 00 00 02 5B 00 0E "   // page composition: a region at 603, 14
                 "0F 11 00 01 00 10 00 08 00 58 02 26 48 01")); // region composition: 88 x 550, CLUT 1
}

/// Of fifty articles forty get services. The reference file also completes those behind them, which are
/// never looked at again.
TEST(Services, AreAnnouncedInTheTables)
{
    const temporary_folder folder;
    write_shop(folder, 50);
    write_file(folder, "referencieltv.xml",
        "<r><article code='A3'><channel>777</channel></article>"
        "<article code='A45'><price>1</price><brand>Norvane</brand><channel>5</channel></article></r>");
    const std::string stream = (folder.path / "stream.ts").string();
    const run_result result = run_daemon_emulated(shop_run(folder, {"--duration", "8"}), stream);
    EXPECT_THAT(result.output, HasSubstr("\n40 subtitle services to play\n"));
    EXPECT_EQ(result.emulator_status, 0) << result.summary << result.errors;

    byte_string sdt_services;
    byte_string channels;
    std::map<int, byte_string> pmts;
    for (int i = 0; i < 40; ++i) {
        const int id = 100 + i;
        const int channel = i == 3 ? 777 : 101 + i;
        const std::string name = "Shop Win " + std::to_string(channel);
        add(sdt_services, {0, id, 0xFD, 0x80, 18, 0x48, 16, 0x01, 1, ' ', 12});
        sdt_services.insert(sdt_services.end(), name.begin(), name.end());
        add(channels, {0, id, 0x7C | channel >> 8, channel & 0xFF});
        add(pmts[256 + i],
            {0x02, 0xB0, 33, 0, id, 0xE1, 0, 0, 0xF0, 0x01, 0xF0, 0, 0x1B, 0xF0, 0x11, 0xF0, 0, 0x06, 0xF1,
                0x10 + i, 0xF0, 10, 0x59, 8, 'f', 'r', 'a', 0x10, 0, 1, 0, 1});
    }
    std::map<int, byte_string> last;
    for (const ts_unit& section : read_stream(stream).sections)
        last[section.pid] = section.bytes;
    EXPECT_THAT(byte_string(last[17].begin() + 11, last[17].end() - 4), ElementsAreArray(sdt_services));
    EXPECT_THAT(byte_string(last[16].begin() + 43, last[16].begin() + 43 + 160), ElementsAreArray(channels));
    for (const auto& [pid, bytes] : pmts)
        EXPECT_EQ(front(last[pid], bytes.size()), bytes) << pid;
    EXPECT_EQ(last[0].size(), 16U + 4 * 40);
    EXPECT_EQ(last.count(256 + 40), 0U);
}
