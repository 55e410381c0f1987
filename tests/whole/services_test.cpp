#include "emulated_run.h"

#include <algorithm>
#include <gmock/gmock.h>

// How the files in the resources directory become services.

namespace {

const std::string hostname_setting = "PREF_SYSTEM_NETWORK_HOSTNAME";
const std::string resources = "/usr/playout/.medias/resources/";
const std::string two_services = "2 subtitle services to play\nUse 2 slots of 8 packets \n";
const std::string no_service = "No subtitle to play\nUse 2 slots of 8 packets \n";

const std::string more = "[^\n]*\n"; // to the end of the line

/// A shop of two articles, and what is different in it.
const struct {
    const char* what;
    std::string removed; ///< a file or a setting
    std::vector<std::string> broken_files;
    std::string host;
    std::string output; ///< behind the generation
    std::string errors; ///< a regular expression
    std::string end = at_work;
} shops[] = {
    {"two articles", "", {}, "shop-tv-1", two_services, ""},
    {"no article of this host: nothing else is read", "", {"referencieltv.xml", "layout.xml"}, "shop-tv-9",
        no_service, ""},
    {"no host name", hostname_setting, {}, "", no_service, ""},
    {"no article file", "infostv.xml", {}, "shop-tv-1", no_service,
        "Cannot open " + resources + "infostv.xml" + more},
    {"other files malformed", "", {"referencieltv.xml", "layout.xml"}, "shop-tv-1", two_services,
        "XML parsing failed" + more + "XML parsing failed" + more},
    {"no layout file", "layout.xml", {}, "shop-tv-1", two_services,
        "Cannot open " + resources + "layout.xml" + more},
    {"a logo that is no picture", "", {"norvane.png"}, "shop-tv-1", "2 subtitle services to play\n",
        "Error: Cannot render image " + resources + "norvane.png: " + more + "cannot add image: " + more,
        failed},
};

} // namespace

TEST(Services, AreMadeOfWhatTheFilesHold)
{
    for (const auto& [what, removed, broken_files, host, output, errors, end] : shops) {
        const temporary_folder folder;
        write_shop(folder, 2);
        for (const std::string& name : broken_files)
            write_file(folder, name, "<article");
        run_request request = shop_run(folder, {"--duration", "1"});
        request.settings.emplace_back(hostname_setting, host);
        request.settings.emplace_back("ASAN_OPTIONS", "detect_leaks=0"); // whose words are not the daemon's
        if (!removed.empty())
            std::filesystem::remove(folder.path / removed);
        std::erase_if(
            request.settings, [name = removed](const auto& setting) { return setting.first == name; });

        const run_result result = run_daemon_emulated(request);
        EXPECT_EQ(result.daemon_end, end) << what << result.errors;
        EXPECT_EQ(result.output, "Detect EPLD version 3\n" + output) << what;
        EXPECT_THAT(result.errors, testing::MatchesRegex(errors)) << what;
        EXPECT_EQ(result.requests.empty(), end == failed) << what;
    }
}
