#include "preview.h"

#include "chain.h"
#include "findings.h"
#include "findings_json.h"
#include "formatted.h"
#include "handles.h"
#include "host_check.h"
#include "page.h"
#include "preview_options.h"
#include "report.h"
#include "screen_file.h"
#include "screen_picture.h"
#include "serve.h"
#include "services.h"
#include "settings.h"
#include "shop.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr std::size_t code_length_max = 64;

/// A preview under way.
struct preview {
    preview_options options{};
    background ground{};
    std::string host{};
    shop_files files{};
    driver_state state{};
    host_screens all{};
    finding_list findings{}; ///< about all that is shown
    check_summary summary{};
    std::vector<shown_screen> shown{};
    std::string failure{}; ///< why the preview ends early
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

/// Parts of the report for people.
void print(const preview& view, const std::string& text)
{
    if (view.options.format == "human")
        std::fputs(text.c_str(), stdout);
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

void show_article(preview& view, std::uint32_t index, const item& article)
{
    const article_screen& screen = view.all.screens[index];
    std::string path;
    if (screen.prepared && !view.options.output.empty()) {
        path = picture_path(view, index + 1, article);
        view.failure = write_screen(lay_over(view.ground, compose_screen(screen.page)), path);
    }
    view.shown.push_back({.number = index + 1,
        .article = article.code == nullptr ? "" : article.code,
        .host = view.host,
        .picture = path});
    print(view,
        screen_heading(index + 1, article, path) + screen_report(screen, view.state.streams[index]) + "\n");
}

void show_articles(preview& view)
{
    const item* article = view.state.articles;
    for (std::uint32_t i = 0; i < view.state.service_count && view.failure.empty();
         ++i, article = article->next)
        if (is_wanted(view, *article))
            show_article(view, i, *article);
}

bool has_article(const preview& view)
{
    const item* article = view.state.articles;
    for (std::uint32_t i = 0; i < view.state.service_count; ++i, article = article->next)
        if (is_wanted(view, *article))
            return true;
    return false;
}

/// Makes sure of what the options name, before anything is drawn. Returns what is wrong.
std::string open_places(preview& view)
{
    std::error_code error;
    if (!std::filesystem::is_directory(view.options.resources, error))
        return "there is no folder " + view.options.resources;
    if (view.options.all_hosts)
        return ""; // no picture is made, and no process begins with cairo in use
    view.ground = make_background(view.options.background);
    if (!view.ground.error.empty())
        return view.ground.error;
    for (const std::string& folder : {view.options.output, view.options.html})
        if (!folder.empty() && !std::filesystem::create_directories(folder, error) && error)
            return "cannot make the folder " + folder + ": " + error.message();
    return "";
}

std::string data_of_page(const preview& view)
{
    return page_data({.host = view.host,
        .article = view.options.article,
        .ground = view.ground,
        .files = view.files,
        .state = view.state,
        .all = view.all,
        .summary = view.summary,
        .findings = view.findings});
}

/// The last part of every report. Returns the exit status.
int conclude(const preview& view, const finding_groups& findings)
{
    if (view.options.format == "page")
        std::fputs(data_of_page(view).c_str(), stdout);
    if (view.options.format == "json")
        std::fputs(json_report(view.summary, view.shown, findings).c_str(), stdout);
    print(view, findings_report(findings) + verdict(findings));
    std::fflush(stdout);
    const bool wrong = findings.count.errors != 0 || (view.options.strict && findings.count.warnings != 0);
    return wrong ? status_wrong : status_well;
}

void keep(preview& view, const finding_list& more)
{
    view.findings.insert(view.findings.end(), more.begin(), more.end());
}

/// What is about an article that is not asked for is left out.
finding_groups wanted_findings(const preview& view)
{
    finding_groups groups;
    for (const finding& found : view.findings)
        if (view.options.article.empty() || found.article.empty() || found.article == view.options.article)
            add_finding(groups, found);
    return groups;
}

/// Whether a file that cannot be read is why it has no host.
bool is_explained(const shop_files& files)
{
    return files.hosts.empty() && std::ranges::any_of(files.article_frame.findings, is_trouble);
}

/// Loads and checks the articles of the host.
void check(preview& view)
{
    view.findings = check_settings();
    view.files = read_shop(
        view.options.resources, view.host, [&](const finding& found) { view.findings.push_back(found); });
    load_shop(view.state, view.options.resources);
    view.all = check_host(view.state, view.files, view.host,
        {.keep_drawn = !view.options.html.empty() || view.options.format == "page"});
    keep(view, view.all.findings);
    if (view.state.service_count == 0 && !is_explained(view.files))
        view.findings.push_back(no_article(view.files, view.host));
    view.summary = {.hosts = 1, .articles = view.state.service_count};
    const auto found = view.files.hosts.find(view.host);
    if (found != view.files.hosts.end())
        view.summary.dropped_over_forty = found->second.size() - view.state.service_count;
}

/// Returns what was in its way.
std::string write_page(const preview& view)
{
    const std::string path = (std::filesystem::path(view.options.html) / "index.html").string();
    const owned_file file(std::fopen(path.c_str(), "w"));
    const std::string page = page_html(data_of_page(view));
    const bool is_written = file && std::fwrite(page.data(), 1, page.size(), file.get()) == page.size()
        && std::fflush(file.get()) == 0;
    return is_written ? "" : "cannot write " + path + ": " + std::strerror(errno);
}

int show(preview& view)
{
    const owned_services services(&view.state);
    check(view);
    if (view.state.service_count != 0 && !has_article(view))
        return no_preview("no article of this host has the code " + view.options.article);
    print(view,
        formatted("%u of %zu articles are shown; files of %s\n\n", view.state.service_count,
            view.files.listed.size(), view.options.resources.c_str()));
    show_articles(view);
    if (view.failure.empty() && !view.options.html.empty())
        view.failure = write_page(view);
    if (!view.failure.empty())
        return no_preview(view.failure);
    print(view, dropped_report(dropped_articles(view.files, view.host)));
    if (view.all.cost && view.options.article.empty())
        print(view, cycle_report(view.state, *view.all.cost));
    return conclude(view, wanted_findings(view));
}

int show_all_hosts(preview& view)
{
    finding_groups findings;
    add_findings(findings, check_settings());
    view.files = read_shop(
        view.options.resources, std::nullopt, [&](const finding& found) { add_finding(findings, found); });
    check_all_hosts(view.files, view.state, view.summary, findings);
    if (view.files.hosts.empty() && !is_explained(view.files))
        add_finding(findings, no_article(view.files, ""));
    print(view,
        counted(view.summary.hosts, "host") + ", " + counted(view.summary.articles, "article") + " shown, "
            + counted(view.summary.dropped_over_forty, "article")
            + " over forty of a host not shown; files of " + view.options.resources + "\n\n");
    return conclude(view, findings);
}

/// The daemon's code asks the settings for the host.
void choose_host(preview& view)
{
    if (!view.options.host.empty())
        setenv(host_setting, view.options.host.c_str(), 1);
    view.host = text_setting(host_setting).value_or("");
}

} // namespace

int run_preview(int argc, char** argv)
{
    preview view{.options = parse_preview_options(argc, argv)};
    if (view.options.help) {
        print(view, preview_help());
        return status_well;
    }
    if (view.options.version) {
        print(view, "tsinsert-preview " TSINSERTD_VERSION "\n");
        return status_well;
    }
    if (!view.options.error.empty())
        return no_preview(view.options.error + " (--help lists the options)");
    if (!view.options.serve.empty())
        return serve_page(view.options);
    if (const std::string problem = open_places(view); !problem.empty())
        return no_preview(problem);
    const auto settings = read_settings();
    if (!settings)
        return no_preview("cannot read the settings");
    view.state = *settings;
    choose_host(view);
    return view.options.all_hosts ? show_all_hosts(view) : show(view);
}
