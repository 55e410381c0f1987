#include "preview_options.h"

#include "resources.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <getopt.h>
#include <iterator>
#include <string_view>

namespace {

/// So that names of icons and logos still fit behind it, as they do on the board.
constexpr std::size_t resources_path_max = 127;
constexpr const char* default_port = "8090";

struct option_rule {
    const char* name = nullptr;
    const char* argument = nullptr;
    const char* meaning = nullptr;
    std::string preview_options::*place = nullptr;
    bool preview_options::*flag = nullptr; ///< of an option without an argument
};

constexpr option_rule rules[] = {
    {"resources", "FOLDER", "where the XML files, icons and logos lie\n(/usr/playout/.medias/resources)",
        &preview_options::resources},
    {"background", "COLOUR|FILE",
        "what the picture lies on: a colour as 203040, or a PNG file,\nstretched to the screen (606060)",
        &preview_options::background},
    {"output", "FOLDER",
        "where the pictures go; made when it is not there (preview;\nwith a page, which has them: none)",
        &preview_options::output},
    {"html", "FOLDER", "write a page with all screens, FOLDER/index.html", &preview_options::html},
    {"serve", "[PORT]", "serve that page to browsers, drawn anew after each change (8090)",
        &preview_options::serve},
    {"address", "ADDRESS", "of the network that the page is served on (127.0.0.1, this\ncomputer only)",
        &preview_options::address},
    {"article", "CODE", "show this article only (all)", &preview_options::article},
    {"host", "NAME", "show the articles of this host (that of the settings)", &preview_options::host},
    {"all-hosts", "", "check every host of the article file; makes no pictures", nullptr,
        &preview_options::all_hosts},
    {"strict", "", "let warnings, too, make the exit status 1", nullptr, &preview_options::strict},
    {"format", "human|json|page", "of the report (human); page is what the page is drawn from",
        &preview_options::format},
};

constexpr int help_value = static_cast<int>(std::size(rules));
constexpr int version_value = help_value + 1;
using option_list = std::array<option, std::size(rules) + 3>;

bool has_default(const option_rule& rule)
{
    return *rule.argument == '[';
}

int argument_of(const option_rule& rule)
{
    return rule.place == nullptr ? no_argument : has_default(rule) ? optional_argument : required_argument;
}

option_list long_options()
{
    option_list known{};
    for (std::size_t i = 0; i < std::size(rules); ++i)
        known[i] = {.name = rules[i].name,
            .has_arg = argument_of(rules[i]),
            .flag = nullptr,
            .val = static_cast<int>(i)};
    known[help_value] = {.name = "help", .has_arg = no_argument, .flag = nullptr, .val = help_value};
    known[version_value] = {.name = "version", .has_arg = no_argument, .flag = nullptr, .val = version_value};
    return known;
}

/// The argument of an option, of one with a default also the number behind it.
const char* argument_or_default(const option_rule& rule, int argc, char** argv)
{
    if (optarg != nullptr || !has_default(rule))
        return optarg;
    const bool number_follows = optind < argc && std::isdigit(static_cast<unsigned char>(*argv[optind])) != 0;
    return number_follows ? argv[optind++] : default_port;
}

void take_option(preview_options& options, const option_rule& rule, const char* value)
{
    if (rule.flag != nullptr) {
        options.*rule.flag = true;
        return;
    }
    options.*rule.place = value;
    if ((options.*rule.place).empty())
        options.error = std::string("--") + rule.name + " needs a value";
}

bool makes_page(const preview_options& options)
{
    return !(options.html + options.serve).empty();
}

void check_choices(preview_options& options)
{
    if (options.format != "human" && options.format != "json" && options.format != "page")
        options.error = "--format is human, json or page";
    if (options.all_hosts && (makes_page(options) || options.format == "page"))
        options.error = "a page is of one host: --host chooses it, not --all-hosts";
    if (!options.serve.empty() && !port_of(options.serve))
        options.error = "--serve takes a port from 0 to 65535, not " + options.serve;
    if (!options.serve.empty() && !(options.html + options.output).empty())
        options.error = "--serve writes no file: leave out --html and --output";
    if (options.all_hosts && !(options.host + options.article).empty())
        options.error = "--all-hosts leaves no choice of --host or --article";
}

void complete_output(preview_options& options)
{
    if (options.output.empty() && !makes_page(options) && options.format != "page")
        options.output = "preview";
}

void complete_resources(preview_options& options)
{
    if (!options.resources.empty() && options.resources.back() != '/')
        options.resources += '/';
    if (options.resources.size() > resources_path_max)
        options.error = "the path of the resources folder is too long: go there and use --resources .";
}

} // namespace

std::optional<int> port_of(const std::string& text)
{
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional<int>(port) : std::nullopt;
}

preview_options parse_preview_options(int argc, char** argv)
{
    static_assert(resources_directory.size() <= resources_path_max);
    preview_options options;
    const auto known = long_options();
    opterr = 0;
    optind = 0; // forget an earlier command line altogether
    for (int value = 0; (value = getopt_long(argc, argv, "h", known.data(), nullptr)) != -1;) {
        options.help = value == 'h' || value == help_value;
        options.version = value == version_value;
        if (options.help || options.version)
            return options;
        if (value < 0 || value > help_value)
            options.error = std::string("unknown option, or one without its value: ") + argv[optind - 1];
        else
            take_option(options, rules[value], argument_or_default(rules[value], argc, argv));
        if (!options.error.empty())
            return options;
    }
    if (optind < argc)
        options.error = std::string("what is \"") + argv[optind] + "\" for?";
    check_choices(options);
    complete_output(options);
    complete_resources(options);
    return options;
}

std::string preview_help()
{
    std::string text =
        "Usage: tsinsert-preview [options]\n\n"
        "Shows what viewers will see: draws and encodes the articles of this host as the daemon does,\n"
        "decodes them again, and writes a picture of each screen and a report. The daemon's settings\n"
        "are environment variables, as on the board; PREF_SYSTEM_NETWORK_HOSTNAME chooses the articles.\n"
        "Values in brackets hold where an option is not given.\n\n";
    constexpr std::size_t column = 29;
    for (const option_rule& rule : rules) {
        std::string head = std::string("  --") + rule.name + " " + rule.argument;
        head.resize(std::max(column, head.size() + 1), ' ');
        text += head;
        for (const char character : std::string_view(rule.meaning)) {
            text += character;
            if (character == '\n')
                text.append(column, ' ');
        }
        text += '\n';
    }
    return text
        + "  --help                     this text\n"
          "  --version                  which version this is\n\n"
          "Exit status: 0 when all is well, 1 when viewers would see something broken, wrong or nothing\n"
          "(with --strict, also when there is a warning), 2 when nothing could be checked (wrong options,\n"
          "a picture that cannot be read or written).\n";
}
