#include "shop.h"

#include "articles.h"
#include "formatted.h"
#include "picture_check.h"
#include "resources.h"
#include "services.h"
#include "settings.h"
#include "silence.h"
#include "startup.h"
#include "text.h"

#include <algorithm>
#include <set>
#include <span>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::int32_t largest_channel = 1023;
constexpr std::size_t hosts_named = 10;

// Reading

/// The number of the host's last article as a screen; 0 when it is not shown.
std::uint32_t last_screen(const shop_files& files, const std::string& host)
{
    const auto found = files.hosts.find(host);
    const std::size_t count = found == files.hosts.end() ? 0 : found->second.size();
    return count > services_max ? 0 : static_cast<std::uint32_t>(count);
}

void tell(const finding_taker& take, finding_list findings, std::uint32_t screen)
{
    for (finding& found : findings) {
        found.screen = screen;
        take(found);
    }
}

void read_listed(shop_files& files, const std::optional<std::string>& host, const finding_taker& take)
{
    const auto concerns = [&](const article_element& article) {
        return !host || article.host == *host || article.meant_host == *host || article.host.empty();
    };
    // With a blank too many it is no host of the chain, unless it is asked for.
    const auto is_host = [&](const article_element& article) {
        return !article.host.empty()
            && (article.host == article.meant_host || (host && article.host == *host));
    };
    const auto take_article = [&](const article_element& article, const finding_list& findings) {
        if (is_host(article))
            files.hosts[article.host].push_back(files.listed.size());
        files.listed.push_back(article);
        files.listed.back().meant_host.clear();
        if (concerns(article))
            tell(take, findings, !host || article.host == *host ? last_screen(files, article.host) : 0);
    };
    files.article_frame = read_articles(files.articles, article_file_kind::articles, take_article);
    tell(take, files.article_frame.findings, 0);
}

/// The articles of the host, or of all, by their codes, with the screens of those of the host.
std::map<std::string, std::uint32_t> screens_of(
    const shop_files& files, const std::optional<std::string>& host)
{
    std::map<std::string, std::uint32_t> screens;
    std::uint32_t screen = 0;
    for (const article_element& article : files.listed) {
        if (!host)
            screens.emplace(article.code, 0);
        else if (article.host == *host && !host->empty() && screen < services_max)
            screens.emplace(article.code, ++screen);
    }
    return screens;
}

/// Without blanks, in small letters: codes that people take for the same.
std::string as_meant(std::string code)
{
    std::erase(code, ' ');
    std::ranges::transform(code, code.begin(), ascii_lower);
    return code;
}

void read_catalogue(shop_files& files, const std::optional<std::string>& host, const finding_taker& take)
{
    const auto screens = screens_of(files, host);
    std::map<std::string, std::vector<std::string>> meant;
    for (const auto& [code, screen] : screens)
        meant[as_meant(code)].push_back(code);
    meant.erase("");
    const auto take_article = [&](const article_element& article, const finding_list& findings) {
        const auto shown = screens.find(article.code);
        if (!host || shown != screens.end() || article.code.empty())
            tell(take, findings, shown == screens.end() ? 0 : shown->second);
        if (shown != screens.end())
            files.catalogue.push_back(article);
        else if (const auto near = meant.find(as_meant(article.code)); near != meant.end())
            for (const std::string& code : near->second)
                files.near_codes.emplace(code, article.code);
    };
    files.reference_frame = read_articles(files.reference, article_file_kind::reference, take_article);
    tell(take, files.reference_frame.findings, 0);
    std::ranges::stable_sort(files.catalogue, {}, &article_element::code);
}

// Articles of a host

const std::vector<std::size_t>& articles_of(const shop_files& files, const std::string& host)
{
    static const std::vector<std::size_t> none;
    const auto found = files.hosts.find(host);
    return found == files.hosts.end() ? none : found->second;
}

std::span<const article_element> catalogue_of(const shop_files& files, const std::string& code)
{
    return {std::ranges::lower_bound(files.catalogue, code, {}, &article_element::code),
        std::ranges::upper_bound(files.catalogue, code, {}, &article_element::code)};
}

source_position in_file(const file_bytes& file, const file_place& place)
{
    return {.file = file.path, .line = place.line, .column = place.column};
}

/// What the reference file has of an article: it fills what is open, but the last channel counts.
void complete(article_places& places, const shop_files& files, const std::string& code)
{
    constexpr auto channel_index = static_cast<std::size_t>(article_field::channel);
    if (code.empty())
        return;
    for (const article_element& known : catalogue_of(files, code)) {
        const bool replaces = known[article_field::channel].line != 0
            && (!known.has_bad_channel || places.fields[channel_index].line == 0);
        if (replaces) {
            places.fields[channel_index] = {};
            places.has_bad_channel = known.has_bad_channel;
        }
        for (std::size_t i = 0; i < article_fields; ++i)
            if (known.fields[i].line != 0 && places.fields[i].line == 0)
                places.fields[i] = in_file(files.reference, known.fields[i]);
    }
}

article_places places_in(const file_bytes& file, const article_element& article)
{
    article_places places{.at = in_file(file, article.at), .has_bad_channel = article.has_bad_channel};
    for (std::size_t i = 0; i < article_fields; ++i)
        if (article.fields[i].line != 0)
            places.fields[i] = in_file(file, article.fields[i]);
    return places;
}

std::string code_of(const item& article)
{
    return article.code == nullptr ? "" : article.code;
}

/// Of receivers' channel lists: ten bits are sent.
std::uint32_t sent_channel(const item& article)
{
    return static_cast<std::uint32_t>(article.channel) & 0x3FFU;
}

void check_channel(finding_list& findings, const item& article, const article_places& places)
{
    const source_position& at = places[article_field::channel];
    if (at == places.at)
        findings.push_back({.level = severity::error,
            .kind = "no-channel",
            .at = at,
            .article = code_of(article),
            .what = "the article has no channel: its service has no place in the channel list",
            .advice = "write <channel>…</channel> with a number from 1 to 1023"});
    else if ((article.channel < 1 || article.channel > largest_channel) && !places.has_bad_channel)
        findings.push_back({.level = severity::error,
            .kind = "channel-out-of-range",
            .at = at,
            .article = code_of(article),
            .what = sent_channel(article) == 0
                ? formatted("the channel %d is no place in the channel list", article.channel)
                : formatted("the channel %d is out of range: receivers list the service at %u",
                    article.channel, sent_channel(article)),
            .advice = "write a number from 1 to 1023",
            .same = sent_channel(article) == 0 ? "none" : "another"});
}

/// The first article of each channel and of each code.
struct first_articles {
    std::map<std::uint32_t, std::string> channels{};
    std::set<std::string> codes{};
};

void check_doubles(finding_list& findings, first_articles& first, const item& article,
    const article_places& places, const shop_files& files)
{
    const std::string code = code_of(article);
    const auto [same, is_first] = first.channels.emplace(sent_channel(article), code);
    if (!is_first && sent_channel(article) != 0)
        findings.push_back({.level = severity::error,
            .kind = "double-channel",
            .at = places[article_field::channel],
            .article = code,
            .what = formatted("channel %u is that of article %s too: receivers list one of them elsewhere, "
                              "or not at all",
                sent_channel(article), same->second.empty() ? "(no code)" : same->second.c_str()),
            .advice = "give each article of a host a channel of its own",
            .same = "channel"});
    if (!code.empty() && !first.codes.insert(code).second) {
        const bool is_known = !catalogue_of(files, code).empty();
        findings.push_back({.level = is_known ? severity::error : severity::warning,
            .kind = "double-code",
            .at = places.at,
            .article = code,
            .what = is_known ? "the code comes twice on this host: this article is not completed from the "
                               "reference file"
                             : "the code comes twice on this host",
            .advice = "give each article of a host a code of its own"});
    }
}

void check_reference(
    finding_list& findings, const item& article, const article_places& places, const shop_files& files)
{
    const auto near = files.near_codes.find(code_of(article));
    if (near != files.near_codes.end() && catalogue_of(files, near->first).empty())
        findings.push_back({.level = severity::warning,
            .kind = "near-code",
            .at = places.at,
            .article = near->first,
            .what = formatted("the reference file has no article \"%s\": this one is not completed from it",
                near->first.c_str()),
            .advice = formatted("did you mean \"%s\"?", near->second.c_str())});
}

void check_number_of_articles(finding_list& findings, const shop_files& files, const std::string& host)
{
    const auto& indices = articles_of(files, host);
    if (indices.size() <= services_max)
        return;
    const article_element& first_dropped = files.listed[indices[services_max]];
    findings.push_back({.level = severity::warning,
        .kind = "too-many-articles",
        .at = in_file(files.articles, first_dropped.at),
        .article = first_dropped.code,
        .what = formatted("this article and those behind it are not shown: the host has %zu, and %u can be",
            indices.size(), services_max),
        .advice = "leave articles out, or put those that matter first",
        .same = "articles"});
}

std::string list_hosts(const shop_files& files)
{
    std::string list;
    std::size_t count = 0;
    for (const auto& [host, articles] : files.hosts) {
        if (++count > hosts_named)
            return list + formatted(" and %zu more", files.hosts.size() - hosts_named);
        list += formatted("%s\"%s\" (%zu)", list.empty() ? "" : ", ", host.c_str(), articles.size());
    }
    return list;
}

/// Hosts that differ in letter case alone, the smaller one of each two; of one host, or with none of all.
void check_host_names(
    const shop_files& files, const std::optional<std::string>& host, const finding_taker& take)
{
    const auto weight_of = [&](const std::string& name) {
        return 2 * files.hosts.at(name).size() + (host == name ? 1 : 0);
    };
    std::map<std::string, const std::string*> known;
    for (const auto& [name, articles] : files.hosts) {
        std::string lowered = name;
        std::ranges::transform(lowered, lowered.begin(), ascii_lower);
        const auto [same, is_first] = known.emplace(lowered, &name);
        if (is_first || (host && !equal_ignoring_case(name, *host)))
            continue;
        const bool is_larger = weight_of(name) > weight_of(*same->second);
        const std::string& odd = is_larger ? *same->second : name;
        const std::string& usual = is_larger ? name : *same->second;
        const article_element& article = files.listed[files.hosts.at(odd).front()];
        take({.level = severity::warning,
            .kind = "wrong-host",
            .at = in_file(files.articles, article[article_field::ovu]),
            .article = article.code,
            .host = odd,
            .what = formatted(R"(the host "%s" is not "%s": letter case matters, and a board has one name)",
                odd.c_str(), usual.c_str()),
            .advice = formatted("did you mean \"%s\"?", usual.c_str()),
            .same = "case"});
        same->second = &usual;
    }
}

// Loading from parts of the files

/// Writes a document of the articles alone, with the beginning and the end of the whole, and has it read.
template <typename reader>
void read_parts(const file_bytes& file, const article_file_frame& frame,
    const std::vector<const article_element*>& articles, reader read)
{
    std::string document = file.bytes.substr(0, frame.head_end);
    for (const article_element* article : articles)
        document.append(file.bytes, article->begin, article->end - article->begin);
    document.append(file.bytes, frame.tail_begin);
    const int descriptor = memfd_create("articles", MFD_CLOEXEC);
    if (write(descriptor, document.data(), document.size()) == static_cast<ssize_t>(document.size()))
        read(formatted("/proc/self/fd/%d", descriptor).c_str());
    close(descriptor);
}

/// Logos were looked for beside the document.
void find_logos(item* article, const std::string& folder)
{
    for (; article != nullptr; article = article->next)
        if (article->logo == nullptr)
            article->logo = brandToLogo(article->brand, folder);
}

std::vector<const article_element*> known_articles(const shop_files& files, const item* article)
{
    std::set<std::string> codes;
    for (; article != nullptr; article = article->next)
        if (article->code != nullptr)
            codes.insert(article->code);
    std::vector<const article_element*> known;
    for (const std::string& code : codes)
        for (const article_element& each : catalogue_of(files, code))
            known.push_back(&each);
    return known;
}

} // namespace

shop_files read_shop(
    const std::string& folder, const std::optional<std::string>& host, const finding_taker& take)
{
    shop_files files{.folder = folder};
    files.articles = read_bytes(folder + "infostv.xml");
    read_listed(files, host, take);
    check_host_names(files, host, take);
    files.reference = read_bytes(folder + "referencieltv.xml");
    read_catalogue(files, host, take);
    files.layout = read_layout(read_bytes(folder + "layout.xml"));
    tell(take, files.layout.findings, 0);
    files.names = files_in(folder);
    return files;
}

std::vector<article_places> places_of(const shop_files& files, const std::string& host)
{
    std::vector<article_places> all;
    std::set<std::string> codes;
    for (const std::size_t index : articles_of(files, host)) {
        if (all.size() == services_max)
            break;
        const article_element& article = files.listed[index];
        all.push_back(places_in(files.articles, article));
        if (codes.insert(article.code).second)
            complete(all.back(), files, article.code);
    }
    return all;
}

std::vector<dropped_article> dropped_articles(const shop_files& files, const std::string& host)
{
    std::vector<dropped_article> dropped;
    std::size_t kept = 0;
    for (const article_element& article : files.listed) {
        if (article.host == host && !host.empty() && kept < services_max) {
            ++kept;
            continue;
        }
        dropped.push_back({.code = article.code,
            .reason = article.host.empty() ? "it names no host (ovu)"
                : article.host == host ? formatted("%u articles of this host stand before it", services_max)
                                       : formatted("it is for host %s", article.host.c_str()),
            .is_near = article.host.empty() || article.host == host});
    }
    std::stable_partition(
        dropped.begin(), dropped.end(), [](const dropped_article& article) { return article.is_near; });
    return dropped;
}

finding_list check_articles(const shop_files& files, const std::string& host, const driver_state& state,
    const std::vector<article_places>& places)
{
    finding_list findings;
    first_articles first;
    const item* article = state.articles;
    for (std::size_t i = 0; i < std::min<std::size_t>(state.service_count, places.size()); ++i) {
        const std::size_t begin = findings.size();
        check_channel(findings, *article, places[i]);
        check_doubles(findings, first, *article, places[i], files);
        check_reference(findings, *article, places[i], files);
        for (std::size_t k = begin; k < findings.size(); ++k)
            findings[k].screen = static_cast<std::uint32_t>(i + 1);
        article = article->next;
    }
    check_number_of_articles(findings, files, host);
    for (finding& found : findings)
        found.host = host;
    return findings;
}

finding_list check_settings()
{
    finding_list findings;
    if (output_is_ethernet())
        findings.push_back({.level = severity::error,
            .kind = "setting",
            .what = "PREF_SYSTEM_STREAMER_1_OUTPUT is \"Ethernet\": viewers see no subtitles",
            .advice = "set it to something else"});
    if (!setting_equals("PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"))
        findings.push_back({.level = severity::error,
            .kind = "setting",
            .what = "PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES is not \"true\": viewers see no subtitles",
            .advice = "set it to true"});
    return findings;
}

finding no_article(const shop_files& files, const std::string& host)
{
    finding found{
        .level = severity::error, .kind = "no-article", .at = {.file = files.articles.path}, .host = host};
    if (files.hosts.empty()) {
        found.what = "no article of the file names a host: viewers see nothing of any";
        found.advice = "write <ovu>…</ovu> with the host's name into each article";
        return found;
    }
    const auto near = std::ranges::find_if(
        files.hosts, [&](const auto& each) { return equal_ignoring_case(each.first, host); });
    found.what = host.empty()
        ? formatted("%s is not set: no article is this host's", host_setting)
        : formatted("there is no article for host \"%s\": viewers see nothing of any", host.c_str());
    found.advice = (near == files.hosts.end() ? "" : formatted("did you mean \"%s\"? ", near->first.c_str()))
        + "the file has these hosts: " + list_hosts(files);
    return found;
}

void load_shop(driver_state& state, const std::string& folder)
{
    const silence quiet(stdout);
    const silence messages(stderr);       // findings tell more of what they tell
    state.multi_service_requested = true; // so that there is something to see, whatever the settings
    load_services(state, folder);
}

void load_host(driver_state& state, const shop_files& files, const std::string& host, layout_region* layout)
{
    std::vector<const article_element*> articles;
    for (const std::size_t index : articles_of(files, host))
        articles.push_back(&files.listed[index]);
    articles.resize(std::min<std::size_t>(articles.size(), services_max));
    read_parts(files.articles, files.article_frame, articles,
        [&](const char* path) { state.articles = ParseXMLInfostv(path); });
    state.service_count =
        static_cast<std::uint32_t>(PurgeDataBase(&state.articles, host.c_str(), services_max));
    state.multi_service = state.service_count != 0;
    read_parts(files.reference, files.reference_frame, known_articles(files, state.articles),
        [&](const char* path) { ParseXMLReferencieltv(path, state.articles); });
    find_logos(state.articles, files.folder);
    state.layout = layout;
}
