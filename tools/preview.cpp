#include "preview.h"

#include "article_check.h"
#include "article_screen.h"
#include "cycle_time.h"
#include "preview_options.h"
#include "report.h"
#include "screen_file.h"
#include "screen_picture.h"
#include "services.h"
#include "shop.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr int status_well = 0;
constexpr int status_broken = 1;
constexpr int status_no_preview = 2;
constexpr std::size_t code_length_max = 64;

/// A preview under way.
struct preview {
    preview_options options{};
    background ground{};
    shop found{};
    driver_state state{};
    image_cache images{};
    coded_regions encoded{};
    std::vector<article_screen> screens{}; ///< of all articles
    finding_list findings{};               ///< about all that is shown
    std::string failure{};                 ///< why the preview ends early
};

/// The services that the preview ends with.
struct services_releaser {
    void operator()(driver_state* state) const
    {
        free_services(*state);
    }
};
using owned_services = std::unique_ptr<driver_state, services_releaser>;

int no_preview(const std::string& why)
{
    std::fflush(stdout);
    std::fprintf(stderr, "tsinsert-preview: %s\n", why.c_str());
    return status_no_preview;
}

/// What the daemon's code says on standard error comes between the parts of the report.
void print(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void keep(preview& view, const finding_list& more)
{
    view.findings.insert(view.findings.end(), more.begin(), more.end());
}

bool is_wanted(const preview& view, const item& article)
{
    return view.options.article.empty() || (article.code != nullptr && view.options.article == article.code);
}

/// The code as a part of a file name.
std::string file_part(const char* code)
{
    std::string part = std::string(code == nullptr ? "" : code).substr(0, code_length_max);
    std::ranges::replace_if(
        part,
        [](char character) {
            return std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-")
                       .find(character)
                == std::string_view::npos;
        },
        '_');
    return part.empty() ? part : "-" + part;
}

std::string picture_path(const preview& view, std::uint32_t number, const item& article)
{
    const std::string name = "screen-" + std::to_string(number) + file_part(article.code) + ".png";
    return (std::filesystem::path(view.options.output) / name).string();
}

/// All of them, also those that are not asked for: see `make_screen`.
void draw_articles(preview& view)
{
    const item* article = view.state.articles;
    for (std::uint32_t i = 0; i < view.state.service_count; ++i, article = article->next)
        view.screens.push_back(make_screen(view.state.streams[i], *article, view.state.layout,
            {.folder = view.options.resources, .cache = &view.images}, view.encoded));
}

void show_article(preview& view, std::uint32_t index, const item& article)
{
    const subtitle_stream& stream = view.state.streams[index];
    article_screen& screen = view.screens[index];
    const auto findings = check_screen(screen, stream, article, view.state.layout, view.options.resources);
    std::string path;
    if (screen.prepared) {
        path = picture_path(view, index + 1, article);
        view.failure = write_screen(lay_over(view.ground, compose_screen(screen.page)), path);
    }
    print(screen_heading(index + 1, article, path) + screen_report(screen, stream) + findings_report(findings)
        + "\n");
    keep(view, findings);
}

void show_articles(preview& view)
{
    const item* article = view.state.articles;
    for (std::uint32_t i = 0; i < view.state.service_count && view.failure.empty();
         ++i, article = article->next)
        if (is_wanted(view, *article))
            show_article(view, i, *article);
}

/// With all display sets at hand, what the device has room for and how long it takes.
void show_cycle(preview& view)
{
    const bool all_prepared = std::ranges::all_of(view.screens, &article_screen::prepared);
    if (view.state.service_count == 0 || !all_prepared || !view.options.article.empty())
        return;
    if (const auto cost = measure_cycle(view.state))
        print(cycle_report(view.state, *cost));
    else
        view.findings.push_back({.level = severity::broken,
            .text = "packet memory has no room for the tables of all services: the daemon does not start"});
}

bool has_article(const preview& view)
{
    const item* article = view.state.articles;
    for (std::uint32_t i = 0; i < view.state.service_count; ++i, article = article->next)
        if (is_wanted(view, *article))
            return true;
    return false;
}

void introduce(preview& view)
{
    keep(view, view.found.findings);
    if (view.state.layout != nullptr)
        keep(view, check_layout(view.state.layout));
    print(std::to_string(view.state.service_count) + " of "
        + std::to_string(view.state.service_count + view.found.dropped.size())
        + " articles are shown; files of " + view.options.resources + "\n" + findings_report(view.findings)
        + "\n");
}

/// Makes sure of what the options name, before anything is drawn. Returns what is wrong.
std::string open_places(preview& view)
{
    std::error_code error;
    if (!std::filesystem::is_directory(view.options.resources, error))
        return "there is no folder " + view.options.resources;
    view.ground = make_background(view.options.background);
    if (!view.ground.error.empty())
        return view.ground.error;
    std::filesystem::create_directories(view.options.output, error);
    return error ? "cannot make the folder " + view.options.output + ": " + error.message() : "";
}

int show(preview& view)
{
    const owned_services services(&view.state);
    view.found = load_shop(view.state, view.options.resources);
    if (view.state.service_count != 0 && !has_article(view))
        return no_preview("no article of this host has the code " + view.options.article);
    introduce(view);
    draw_articles(view);
    show_articles(view);
    if (!view.failure.empty())
        return no_preview(view.failure);
    print(dropped_report(view.found));
    show_cycle(view);
    print(verdict(view.findings));
    const bool broken = std::ranges::count(view.findings, severity::broken, &finding::level) != 0;
    return broken ? status_broken : status_well;
}

} // namespace

int run_preview(int argc, char** argv)
{
    preview view{.options = parse_preview_options(argc, argv)};
    if (view.options.help) {
        print(preview_help());
        return status_well;
    }
    if (view.options.version) {
        print("tsinsert-preview " TSINSERTD_VERSION "\n");
        return status_well;
    }
    if (!view.options.error.empty())
        return no_preview(view.options.error + " (--help lists the options)");
    if (const std::string problem = open_places(view); !problem.empty())
        return no_preview(problem);
    const auto settings = read_settings();
    if (!settings)
        return no_preview("cannot read the settings");
    view.state = *settings;
    return show(view);
}
