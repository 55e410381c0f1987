#include "host_check.h"

#include <algorithm>

namespace {

void append(finding_list& findings, finding_list more, const std::string& host, const item& article,
    std::uint32_t screen)
{
    for (finding& found : more) {
        found.article = article.code == nullptr ? "" : article.code;
        found.host = host;
        found.screen = screen;
        findings.push_back(std::move(found));
    }
}

void draw_screens(
    host_screens& all, driver_state& state, const std::string& folder, const check_options& options)
{
    drawing_aids aids{.sound = options.sound, .keep_drawn = options.keep_drawn};
    const item* article = state.articles;
    for (std::uint32_t i = 0; i < state.service_count; ++i, article = article->next)
        all.screens.push_back(make_screen(state.streams[i], *article, state.layout, folder, aids));
}

void check_screens(host_screens& all, const driver_state& state, const shop_files& files,
    const std::string& host, const std::vector<article_places>& places, const sound_regions& sound)
{
    checked_things things;
    const check_context context{.layout = state.layout,
        .places = files.layout,
        .folder = files.folder,
        .files = files.names,
        .things = things};
    const item* article = state.articles;
    for (std::uint32_t i = 0; i < state.service_count; ++i, article = article->next)
        append(all.findings,
            check_screen(all.screens[i], state.streams[i], *article, places[i], context, sound), host,
            *article, i + 1);
}

/// With all display sets at hand, what the device has room for and how long it takes.
void check_cycle(host_screens& all, driver_state& state, const std::string& host)
{
    if (!std::ranges::all_of(all.screens, &article_screen::prepared))
        return;
    all.cost = measure_cycle(state);
    if (!all.cost)
        all.findings.push_back({.level = severity::error,
            .kind = "no-room",
            .host = host,
            .what = "packet memory has no room for the tables of all services: the daemon does not start",
            .advice = "show fewer articles, or give shorter names in the settings"});
}

} // namespace

host_screens check_host(
    driver_state& state, const shop_files& files, const std::string& host, const check_options& options)
{
    host_screens all;
    auto places = places_of(files, host);
    places.resize(state.service_count);
    draw_screens(all, state, files.folder, options);
    all.findings = check_articles(files, host, state, places);
    check_screens(all, state, files, host, places, options.sound);
    if (state.service_count != 0)
        check_cycle(all, state, host);
    return all;
}
