#include "options.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <getopt.h>
#include <optional>
#include <span>

namespace {

constexpr std::int64_t generation_max = 1000;
constexpr std::int64_t packet_rate_max = 1'000'000;
constexpr std::int64_t bus_clock_max = 1'000'000'000;
constexpr std::int64_t duration_max_s = 366LL * 24 * 3600;

std::optional<std::int64_t> parse_number(std::string_view text, std::int64_t least, std::int64_t most)
{
    std::int64_t value = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || end != last || value < least || value > most)
        return {};
    return value;
}

/// "90", "90s", "15m" or "10h".
std::optional<std::int64_t> parse_duration(std::string_view text)
{
    std::int64_t unit_s = 1;
    if (text.ends_with('h'))
        unit_s = 3600;
    else if (text.ends_with('m'))
        unit_s = 60;
    if (text.ends_with('s') || unit_s != 1)
        text.remove_suffix(1);
    const auto count = parse_number(text, 1, duration_max_s / unit_s);
    return count.has_value() ? std::optional(*count * unit_s) : std::nullopt;
}

/// "2026-11-18 14:05:09", in UTC.
std::optional<std::int64_t> parse_start(const char* text)
{
    std::tm utc{};
    const char* const end = strptime(text, "%Y-%m-%d %H:%M:%S", &utc);
    const int day = utc.tm_mday;
    const std::time_t seconds = end != nullptr && *end == '\0' ? timegm(&utc) : -1;
    const bool exists = utc.tm_mday == day; // 31 February is carried over into March
    return seconds >= 0 && exists ? std::optional<std::int64_t>(seconds) : std::nullopt;
}

/// "25:-3600": at second 25 of the run the clock is set back by an hour.
std::optional<clock_change> parse_clock_change(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return {};
    const auto at_s = parse_number(text.substr(0, colon), 0, duration_max_s);
    const auto by_s = parse_number(text.substr(colon + 1), -duration_max_s, duration_max_s);
    return at_s && by_s ? std::optional(clock_change{.at_s = *at_s, .by_s = *by_s}) : std::nullopt;
}

template <typename value> bool store(value& place, const std::optional<std::int64_t>& parsed)
{
    if (parsed.has_value())
        place = static_cast<value>(*parsed);
    return parsed.has_value();
}

bool store_text(std::string& place, const char* text)
{
    place = text;
    return !place.empty();
}

bool read_duration(launch_options& options, const char* text)
{
    return store(options.duration_s, parse_duration(text));
}

enum class users : std::uint8_t { both, launcher, adapter };

struct option_rule {
    users of; ///< the programs that have the option
    const char* name;
    const char* argument;
    const char* meaning;
    bool (*read)(launch_options& options, const char* text);
};

constexpr option_rule rules[] = {
    {users::launcher, "generation", "TEXT",
        "what the version file says: 1 or 2 for the old generation of the device, 3 and\n"
        "more for the new one; \"none\": there is no such file (3)",
        [](launch_options& options, const char* text) {
            options.generation = text;
            return true;
        }},
    {users::adapter, "generation", "N",
        "of the device: 1 or 2 for the old one, 3 and more for the new one (3)",
        [](launch_options& options, const char* text) {
            options.generation = text;
            return parse_number(text, 0, generation_max).has_value();
        }},
    {users::launcher, "resources", "FOLDER",
        "stands in for the resources directory of the board (the real one)",
        [](launch_options& options, const char* text) { return store_text(options.resources, text); }},
    {users::launcher, "start", "TIME", "the clock at the beginning, \"YYYY-MM-DD hh:mm:ss\" in UTC (now)",
        [](launch_options& options, const char* text) { return store(options.start_s, parse_start(text)); }},
    {users::launcher, "set-clock", "AT:BY",
        "in second AT of the run set the clock by BY seconds, back with a minus: 25:-3600",
        [](launch_options& options, const char* text) {
            const auto change = parse_clock_change(text);
            options.clock_set = change.value_or(clock_change{});
            return change.has_value();
        }},
    {users::launcher, "duration", "TIME",
        "how long to run, as 90, 90s, 15m or 10h (the encoder stream's length, or 60s)", read_duration},
    {users::adapter, "duration", "TIME",
        "how long to run, as 90, 90s, 15m or 10h (the encoder stream's length, or until it is\nstopped)",
        read_duration},
    {users::launcher, "clock", "KIND",
        "virtual: time passes only in sleeps and on the bus; real: as it does (virtual)",
        [](launch_options& options, const char* text) {
            options.real_time = std::string_view(text) == "real";
            return options.real_time || std::string_view(text) == "virtual";
        }},
    {users::both, "packet-rate", "N", "packets per second that the device can send (1000)",
        [](launch_options& options, const char* text) {
            return store(options.packet_rate, parse_number(text, 1, packet_rate_max));
        }},
    {users::both, "bus-clock", "HZ", "clock of the I2C bus; 0: transfers take no time (100000)",
        [](launch_options& options, const char* text) {
            return store(options.bus_clock_hz, parse_number(text, 0, bus_clock_max));
        }},
    {users::both, "stream", "FILE",
        "write the transport stream that leaves the board; -: to standard output, for a player,\n"
        "and what else would go there to standard error",
        [](launch_options& options, const char* text) { return store_text(options.stream_path, text); }},
    {users::both, "encoder", "FILE",
        "a transport stream of constant rate whose null packets the device replaces",
        [](launch_options& options, const char* text) { return store_text(options.encoder_path, text); }},
    {users::both, "record", "FILE", "write every request of the bus, one line each, with its time",
        [](launch_options& options, const char* text) { return store_text(options.record_path, text); }},
    {users::both, "summary", "FILE", "write the summary there (standard output)",
        [](launch_options& options, const char* text) { return store_text(options.summary_path, text); }},
    {users::both, "fail", "KIND:N",
        "refuse the N-th request of that kind, with N+ all from the N-th on; kinds: open, bind,\n"
        "read-byte, write-byte, write-word, read-block, write-block, any (may be repeated)",
        [](launch_options& options, const char* text) {
            const auto refusal = parse_refusal(text);
            if (refusal.has_value())
                options.refusals.push_back(*refusal);
            return refusal.has_value() && options.refusals.size() <= fault_plan::refusals_max;
        }},
    {users::both, "stuck-slot", "K", "stream slot K, 0 or 1, never becomes free again once it is loaded",
        [](launch_options& options, const char* text) {
            return store(options.stuck_slot, parse_number(text, 0, 1));
        }},
    {users::both, "no-acknowledge", "K", "stream slot K, 0 or 1, is never acknowledged (nor sent)",
        [](launch_options& options, const char* text) {
            return store(options.unacknowledged_slot, parse_number(text, 0, 1));
        }},
};
constexpr int help_value = std::size(rules);
constexpr int version_value = help_value + 1;

bool has(front_end program, const option_rule& rule)
{
    return rule.of != (program == front_end::launcher ? users::adapter : users::launcher);
}

std::vector<option> long_options(front_end program)
{
    std::vector<option> all;
    for (int value = 0; const option_rule& rule : rules) {
        if (has(program, rule))
            all.push_back({rule.name, required_argument, nullptr, value});
        ++value;
    }
    all.push_back({"help", no_argument, nullptr, help_value});
    all.push_back({"version", no_argument, nullptr, version_value});
    all.push_back({});
    return all;
}

constexpr const char* launcher_intro =
    "Usage: epld-emulator [options] -- tsinsertd\n\n"
    "Runs the daemon on an emulated logic device. The daemon's settings are environment\n"
    "variables, as on the board. Values in brackets hold where an option is not given.\n\n";
constexpr const char* launcher_end =
    "Exit status: 0 when the run was sound, 1 when it was not (the summary says why), 2 when there\n"
    "was no run. A run is sound when the daemon was still at work at its end (or the output is on\n"
    "Ethernet), did nothing wrong towards the device, every table and every service was seen at\n"
    "its rate, and nothing that left the board was broken.\n";

constexpr const char* adapter_intro =
    "Usage: epld-adapter [options]\n\n"
    "Puts the emulated logic device on an I2C bus of this kernel, /dev/i2c-N, behind a USB adapter\n"
    "that the kernel's drivers vhci_hcd and i2c-tiny-usb serve, until it is interrupted. Values in\n"
    "brackets hold where an option is not given.\n\n";
constexpr const char* adapter_end =
    "On standard input it takes commands, a line each:\n\n"
    "  unplug, plug          take the adapter from the kernel, and give it back\n"
    "  absent, present       nobody answers at the device's address, and it answers again\n"
    "  stuck, free           the device takes up no more loads, and takes them up again\n\n"
    "Exit status: 0 when the run was sound, 1 when it was not (the summary says why), 2 when there\n"
    "was no run. A run is sound when the daemon did nothing wrong towards the device, every table\n"
    "and every service was seen at its rate, and nothing that left the board was broken. Each\n"
    "programming of the tables begins anew.\n";

void take_command(launch_options& options, front_end program, std::span<char*> rest)
{
    options.command.assign(rest.begin(), rest.end());
    if (program == front_end::launcher && rest.empty())
        options.error = "which daemon? Put it at the end: epld-emulator [options] -- tsinsertd";
    if (program == front_end::adapter && !rest.empty())
        options.error = std::string("what is \"") + rest.front() + "\"? It runs no program";
}

} // namespace

launch_options parse_command_line(front_end program, int argc, char** argv)
{
    launch_options options;
    const std::vector<option> known = long_options(program);
    opterr = 0;
    optind = 0; // begin anew, whatever was read before (getopt_long(3), NOTES)
    for (int value = 0; (value = getopt_long(argc, argv, "+h", known.data(), nullptr)) != -1;) {
        options.help = value == 'h' || value == help_value;
        options.version = value == version_value;
        if (options.help || options.version)
            return options;
        if (value < 0 || value >= help_value) {
            options.error = std::string("unknown option, or one without its value: ") + argv[optind - 1];
            return options;
        }
        const option_rule& rule = rules[value];
        if (!rule.read(options, optarg)) {
            options.error = std::string("--") + rule.name + " cannot be \"" + optarg + "\": " + rule.meaning;
            return options;
        }
    }
    take_command(options, program,
        std::span(argv, static_cast<std::size_t>(argc)).subspan(static_cast<std::size_t>(optind)));
    return options;
}

std::string help_text(front_end program)
{
    const bool launcher = program == front_end::launcher;
    std::string text = launcher ? launcher_intro : adapter_intro;
    constexpr std::size_t column = 24;
    for (const option_rule& rule : rules) {
        if (!has(program, rule))
            continue;
        std::string head = std::string("  --") + rule.name + " " + rule.argument;
        head.resize(std::max(head.size() + 1, column), ' ');
        text += head;
        for (const char character : std::string_view(rule.meaning)) {
            text += character;
            if (character == '\n')
                text.append(column, ' ');
        }
        text += '\n';
    }
    return text
        + "  --help                this text\n"
          "  --version             which version this is\n\n"
        + (launcher ? launcher_end : adapter_end);
}
