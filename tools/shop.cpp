#include "shop.h"

#include "articles.h"
#include "formatted.h"
#include "handles.h"
#include "services.h"
#include "settings.h"
#include "silence.h"
#include "startup.h"
#include "xml_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <map>

namespace {

constexpr const char* host_setting = "PREF_SYSTEM_NETWORK_HOSTNAME";

void add(finding_list& findings, severity level, std::string text)
{
    findings.push_back({.level = level, .text = std::move(text)});
}

/// Where and why a file is not well-formed XML; empty when it is. The daemon uses what stands before.
std::string xml_problem(std::FILE* file)
{
    const owned_xml_parser parser(XML_ParserCreate(nullptr));
    std::array<char, 16384> bytes{};
    for (bool last = false; !last;) {
        const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), file);
        last = count < bytes.size();
        if (XML_Parse(parser.get(), bytes.data(), static_cast<int>(count), last ? XML_TRUE : XML_FALSE)
            != XML_STATUS_OK)
            return formatted("is not well-formed in line %lu, column %lu (%s): what follows is not used",
                XML_GetCurrentLineNumber(parser.get()), XML_GetCurrentColumnNumber(parser.get()) + 1,
                XML_ErrorString(XML_GetErrorCode(parser.get())));
    }
    return "";
}

/// As the daemon opens it: for writing too.
void check_file(shop& found, const std::string& path)
{
    const owned_file file(std::fopen(path.c_str(), "r+"));
    const std::string problem = file
        ? xml_problem(file.get())
        : formatted("cannot be opened for reading and writing: %s", std::strerror(errno));
    if (!problem.empty())
        add(found.findings, severity::broken, path + " " + problem);
}

std::string text_or_empty(const char* text)
{
    return text == nullptr ? "" : text;
}

std::string reason_to_drop(const item& article, const std::string& host, std::uint32_t kept)
{
    if (article.ovu == nullptr)
        return "it names no host (ovu)";
    if (article.ovu != host)
        return formatted("it is for host %s", article.ovu);
    return kept == services_max ? formatted("%u articles of this host stand before it", services_max) : "";
}

/// What the filter by host drops.
void note_dropped(shop& found, const item* articles, const std::string& host)
{
    std::uint32_t kept = 0;
    for (const item* article = articles; article != nullptr; article = article->next) {
        const std::string reason = reason_to_drop(*article, host, kept);
        if (reason.empty())
            ++kept;
        else
            found.dropped.push_back({.code = text_or_empty(article->code), .reason = reason});
    }
}

std::string hosts_of(const item* article)
{
    std::map<std::string, int> hosts;
    for (; article != nullptr; article = article->next)
        if (article->ovu != nullptr)
            ++hosts[article->ovu];
    std::string list;
    for (const auto& [host, count] : hosts)
        list += formatted("%s%s (%d)", list.empty() ? "" : ", ", host.c_str(), count);
    return list.empty() ? "none" : list;
}

/// Reads all articles of the file once more, since the daemon forgets those of other hosts, and notes which
/// these are. Returns the hosts that the file names.
std::string check_hosts(shop& found, const std::string& article_file)
{
    const auto host = text_setting(host_setting);
    if (!host)
        add(found.findings, severity::broken,
            formatted("%s is not set: no article is this host's", host_setting));
    const silence quiet(stderr); // the daemon's parser will say the same
    item* const articles = ParseXMLInfostv(article_file.c_str());
    note_dropped(found, articles, std::string(host.value_or("")));
    std::string hosts = hosts_of(articles);
    free_articles(articles);
    return hosts;
}

void check_settings(shop& found)
{
    if (output_is_ethernet())
        add(found.findings, severity::broken, "PREF_SYSTEM_STREAMER_1_OUTPUT is \"Ethernet\": no subtitles");
    if (!setting_equals("PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"))
        add(found.findings, severity::broken,
            "PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES is not \"true\": no subtitles");
}

} // namespace

shop load_shop(driver_state& state, const std::string& folder)
{
    shop found;
    check_settings(found);
    check_file(found, folder + "infostv.xml");
    const std::string hosts = check_hosts(found, folder + "infostv.xml");
    {
        const silence quiet(stdout);
        state.multi_service_requested = true; // so that there is something to see, whatever the settings
        load_services(state, folder);
    }
    if (state.service_count == 0) {
        add(found.findings, severity::broken,
            "no article for this host; the article file has these hosts: " + hosts);
        return found;
    }
    check_file(found, folder + "referencieltv.xml");
    check_file(found, folder + "layout.xml");
    return found;
}
