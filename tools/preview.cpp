#include "preview.h"

#include "article_check.h"
#include "article_screen.h"
#include "cycle_time.h"
#include "preview_options.h"
#include "report.h"
#include "screen_file.h"
#include "screen_picture.h"
#include "shop.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>

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
    finding_list findings{}; ///< about all screens
    bool all_prepared = true;
    std::string failure{}; ///< why the preview ends early
};

/// The encoded blocks are the only thing that the state owns here.
struct blocks_of_state {
    explicit blocks_of_state(driver_state& owner)
        : state(owner)
    {
    }
    ~blocks_of_state()
    {
        for (const subtitle_stream& stream : state.streams) {
            std::free(stream.display_set);
            std::free(stream.refresh);
        }
    }
    blocks_of_state(const blocks_of_state&) = delete;
    blocks_of_state& operator=(const blocks_of_state&) = delete;

    driver_state& state;
};

int no_preview(const std::string& why)
{
    std::fflush(stdout);
    std::fprintf(stderr, "tsinsert-preview: %s\n", why.c_str());
    return status_no_preview;
}

/// The messages of the daemon's code come between the parts of the report, each at its place.
void print(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void keep(preview& shown, const finding_list& more)
{
    shown.findings.insert(shown.findings.end(), more.begin(), more.end());
}

bool is_wanted(const preview& shown, const item& article)
{
    return shown.options.article.empty()
        || (article.code != nullptr && shown.options.article == article.code);
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

std::string picture_path(const preview& shown, std::uint32_t number, const item& article)
{
    const std::string name = "screen-" + std::to_string(number) + file_part(article.code) + ".png";
    return (std::filesystem::path(shown.options.output) / name).string();
}

void show_article(preview& shown, std::uint32_t index, const item& article)
{
    subtitle_stream& stream = shown.state.streams[index];
    const auto screen = make_screen(stream, article, shown.found.layout.get(), shown.options.resources);
    std::string path;
    if (screen.prepared) {
        path = picture_path(shown, index + 1, article);
        shown.failure = write_screen(lay_over(shown.ground, compose_screen(screen.page)), path);
    }
    print(screen_heading(index + 1, article, path) + screen_report(screen, stream));
    keep(shown, screen.findings);
    shown.all_prepared = shown.all_prepared && screen.prepared;
}

void show_articles(preview& shown)
{
    const item* article = shown.found.articles.get();
    for (std::uint32_t i = 0; i < shown.found.shown && shown.failure.empty(); ++i, article = article->next)
        if (is_wanted(shown, *article))
            show_article(shown, i, *article);
}

/// With all display sets at hand, what the device has room for and how long it takes.
void show_cycle(preview& shown)
{
    if (shown.found.shown == 0 || !shown.all_prepared || !shown.options.article.empty())
        return;
    shown.state.articles = shown.found.articles.get();
    shown.state.service_count = shown.found.shown;
    shown.state.multi_service = true;
    if (const auto cost = measure_cycle(shown.state))
        print(cycle_report(shown.state, *cost));
    else
        shown.findings.push_back({.level = severity::broken,
            .text = "packet memory has no room for the tables of all services: the daemon does not start"});
}

bool has_article(const preview& shown)
{
    const item* article = shown.found.articles.get();
    for (std::uint32_t i = 0; i < shown.found.shown; ++i, article = article->next)
        if (is_wanted(shown, *article))
            return true;
    return false;
}

void introduce(preview& shown)
{
    keep(shown, shown.found.findings);
    if (shown.found.layout != nullptr)
        keep(shown, check_layout(shown.found.layout.get()));
    print(std::to_string(shown.found.shown) + " of "
        + std::to_string(shown.found.shown + shown.found.dropped.size()) + " articles are shown; files of "
        + shown.options.resources + "\n" + findings_report(shown.findings) + "\n");
}

/// Makes sure of what the options name, before anything is drawn. Returns what is wrong.
std::string open_places(preview& shown)
{
    std::error_code error;
    if (!std::filesystem::is_directory(shown.options.resources, error))
        return "there is no folder " + shown.options.resources;
    shown.ground = make_background(shown.options.background);
    if (!shown.ground.error.empty())
        return shown.ground.error;
    std::filesystem::create_directories(shown.options.output, error);
    return error ? "cannot make the folder " + shown.options.output + ": " + error.message() : "";
}

int show(preview& shown)
{
    const blocks_of_state blocks(shown.state);
    shown.found = load_shop(shown.options.resources);
    if (shown.found.shown != 0 && !has_article(shown))
        return no_preview("no article of this host has the code " + shown.options.article);
    introduce(shown);
    show_articles(shown);
    if (!shown.failure.empty())
        return no_preview(shown.failure);
    print(dropped_report(shown.found));
    show_cycle(shown);
    print(verdict(shown.findings));
    const bool broken = std::ranges::count(shown.findings, severity::broken, &finding::level) != 0;
    return broken ? status_broken : status_well;
}

} // namespace

int run_preview(int argc, char** argv)
{
    preview shown{.options = parse_preview_options(argc, argv)};
    if (shown.options.help) {
        print(preview_help());
        return status_well;
    }
    if (!shown.options.error.empty())
        return no_preview(shown.options.error + " (--help lists the options)");
    if (const std::string problem = open_places(shown); !problem.empty())
        return no_preview(problem);
    const auto settings = read_settings();
    if (!settings)
        return no_preview("cannot read the settings");
    shown.state = *settings;
    return show(shown);
}
