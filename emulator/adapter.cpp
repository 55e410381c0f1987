// epld-adapter: puts the emulated device on an I2C bus of this kernel, behind a USB adapter that the
// virtual host controller vhci_hcd takes for plugged in.

#include "report.h"
#include "setup.h"
#include "usbip.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <linux/usb/ch9.h>
#include <memory>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::int64_t second_ns = 1'000'000'000;
constexpr std::int64_t flush_interval_ns = second_ns / 10;
constexpr std::size_t control_data_max = 65'535;
const std::filesystem::path controller = "/sys/devices/platform/vhci_hcd.0";

/// What the program holds while it runs.
struct adapter_run {
    std::unique_ptr<emulation> run = std::make_unique<emulation>();
    i2c_bus bus{.run = *run};
    usb_adapter adapter{.bus = bus};
    std::int64_t began_ns = 0; ///< by the monotonic clock
    int socket = -1;           ///< to the controller; negative: unplugged
    unsigned port = 0;
    bool announced = false; ///< the bus that the kernel gave to the adapter
    std::int64_t plugged_at_ns = 0;
    std::int64_t next_flush_ns = 0;
    std::string commands; ///< the beginning of a line on standard input
};

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * second_ns + now.tv_nsec;
}

void note(const adapter_run& state, const std::string& what)
{
    std::fprintf(stderr, "%s: %.3f s: %s\n", program_invocation_short_name,
        static_cast<double>(state.run->now_ns) / static_cast<double>(second_ns), what.c_str());
}

// The controller

std::vector<usbip_port> ports()
{
    std::ifstream file(controller / "status");
    return parse_ports({std::istreambuf_iterator<char>(file), {}});
}

/// Gives one end of a connection to the controller as a device of full speed.
bool attach(unsigned port, int socket)
{
    const std::string text = std::to_string(port) + " " + std::to_string(socket) + " 1 "
        + std::to_string(static_cast<int>(USB_SPEED_FULL)) + "\n";
    const int file = open((controller / "attach").c_str(), O_WRONLY);
    const bool attached =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int error = errno;
    close(file);
    errno = error;
    return attached || complain_about("cannot plug in at", controller);
}

/// The controller takes the end of the connection for the cable's being pulled.
bool unplug(adapter_run& state)
{
    close(std::exchange(state.socket, -1));
    return true;
}

bool plug(adapter_run& state)
{
    if (state.socket >= 0)
        return complain("the adapter is plugged in already");
    const auto all = ports();
    if (all.empty())
        return complain("this kernel has no virtual USB host controller: modprobe vhci_hcd");
    const auto port = std::find_if(all.begin(), all.end(), [](const usbip_port& one) { return one.is_free; });
    if (port == all.end())
        return complain("the virtual USB host controller has no free port");
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return complain_about("cannot connect to", controller);
    state.socket = ends[0];
    state.port = port->number;
    state.announced = false;
    state.plugged_at_ns = state.run->now_ns;
    const bool attached = attach(port->number, ends[1]);
    close(ends[1]); // the controller has it
    if (!attached)
        unplug(state);
    return attached;
}

/// The name of the bus that the kernel's driver has given to the adapter; empty as long as there is none.
std::string bus_name(unsigned port)
{
    for (const usbip_port& one : ports()) {
        std::error_code none;
        const auto interface = "/sys/bus/usb/devices/" + one.device + ":1.0";
        if (one.number == port)
            for (const auto& entry : std::filesystem::directory_iterator(interface, none))
                if (entry.path().filename().string().starts_with("i2c-"))
                    return entry.path().filename();
    }
    return {};
}

/// Says once where the device is to be found, or what is missing when it is nowhere.
void announce(adapter_run& state)
{
    constexpr std::int64_t patience_ns = 5 * second_ns;
    if (state.socket < 0 || state.announced)
        return;
    const std::string bus = bus_name(state.port);
    const bool late = state.run->now_ns - state.plugged_at_ns > patience_ns;
    if (bus.empty() && !late)
        return;
    state.announced = true;
    if (bus.empty())
        note(state, "no driver takes the adapter: modprobe i2c-tiny-usb");
    else if (std::filesystem::exists("/dev/" + bus))
        note(state, "the device is at address 5 of /dev/" + bus);
    else
        note(state, "the device is at address 5 of " + bus + "; for /dev/" + bus + ": modprobe i2c-dev");
}

// Transfers

void keep_pace(adapter_run& state)
{
    const std::int64_t now_ns = monotonic_ns() - state.began_ns;
    if (now_ns > state.run->now_ns)
        return advance(*state.run, state.bus.encoder, now_ns);
    // The last transfer is still on the wire.
    const std::int64_t until_ns = state.began_ns + state.run->now_ns;
    const timespec until{.tv_sec = until_ns / second_ns, .tv_nsec = until_ns % second_ns};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

bool receive(int socket, std::span<std::uint8_t> bytes)
{
    return bytes.empty()
        || recv(socket, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

bool answer(int socket, const usbip_header& header, std::span<const std::uint8_t> bytes)
{
    std::vector<std::uint8_t> all(header.begin(), header.end());
    all.insert(all.end(), bytes.begin(), bytes.end());
    return send(socket, all.data(), all.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(all.size());
}

/// Takes one command of the controller and answers it. Returns false when the connection is of no use.
bool serve(adapter_run& state)
{
    usbip_header header{};
    if (!receive(state.socket, header))
        return false;
    const usbip_command command = parse_command(header);
    if (command.what == usbip_command::kind::unlink)
        return answer(state.socket, unlink_answer(command), {});
    if (command.what != usbip_command::kind::submit || command.length > control_data_max)
        return false;
    std::vector<std::uint8_t> data(command.length);
    if (!command.to_host && !receive(state.socket, data))
        return false;
    keep_pace(state);
    const auto moved =
        command.endpoint == 0 ? answer_control(state.adapter, command.setup, data) : std::nullopt;
    keep_pace(state);
    data.resize(command.to_host ? moved.value_or(0) : 0);
    return answer(state.socket, submit_answer(command, moved), data);
}

// Commands

struct command_rule {
    std::string_view word;
    const char* said; ///< when it has been carried out
    bool (*run)(adapter_run& state);
};

bool set_absent(adapter_run& state, bool absent)
{
    state.bus.device_absent = absent;
    return true;
}

bool set_stuck(adapter_run& state, bool stuck)
{
    state.run->device.unacknowledged_slot = stuck ? epld_model::every : epld_model::none;
    return true;
}

constexpr command_rule command_rules[] = {
    {"unplug", "unplugged", unplug},
    {"plug", "plugged in", plug},
    {"absent", "nobody is at the device's address", [](adapter_run& s) { return set_absent(s, true); }},
    {"present", "the device is at its address", [](adapter_run& s) { return set_absent(s, false); }},
    {"stuck", "the device takes up no more loads", [](adapter_run& s) { return set_stuck(s, true); }},
    {"free", "the device takes up loads", [](adapter_run& s) { return set_stuck(s, false); }},
};

void carry_out(adapter_run& state, std::string_view word)
{
    for (const command_rule& rule : command_rules)
        if (rule.word == word) {
            if (rule.run(state))
                note(state, rule.said);
            return;
        }
    complain("there is no command \"" + std::string(word) + "\" (--help lists them)");
}

/// Returns false when there will be no more of them.
bool take_commands(adapter_run& state)
{
    std::array<char, 256> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0)
        return false;
    state.commands.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = state.commands.find('\n')) != std::string::npos;) {
        if (end != 0)
            carry_out(state, std::string_view(state.commands).substr(0, end));
        state.commands.erase(0, end + 1);
    }
    return true;
}

// The run

int open_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

/// What does not hurry: whoever watches the files sees them grow, and hears where the device is.
void keep_up(adapter_run& state)
{
    emulation& run = *state.run;
    if (run.now_ns < state.next_flush_ns)
        return;
    state.next_flush_ns = run.now_ns + flush_interval_ns;
    flush(run.record);
    flush(run.stream.output);
    announce(state);
}

void run_until_stopped(adapter_run& state)
{
    std::array<pollfd, 3> sources{};
    for (pollfd& source : sources)
        source.events = POLLIN;
    auto& [stop, commands, controller_end] = sources;
    stop.fd = open_signals();
    commands.fd = STDIN_FILENO;
    while (stop.revents == 0 && state.run->now_ns < state.run->duration_ns) {
        controller_end.fd = state.socket;
        poll(sources.data(), sources.size(), flush_interval_ns / 1'000'000);
        keep_pace(state);
        if (controller_end.revents != 0 && !serve(state)) {
            unplug(state);
            note(state, "the kernel has unplugged the adapter");
        }
        if (commands.revents != 0 && !take_commands(state))
            commands.fd = -1;
        keep_up(state);
    }
}

std::int64_t duration_ns(const emulation& run, const launch_options& options)
{
    if (options.duration_s != 0)
        return options.duration_s * second_ns;
    return run.encoder_size != 0 ? encoder_end_us(run.stream) * 1000 : epld_model::never;
}

} // namespace

int main(int argc, char** argv)
{
    keep_standard_streams();
    std::signal(SIGPIPE, SIG_IGN); // a player that ends is said to be a fault of the output
    std::signal(SIGTTIN, SIG_IGN); // in a terminal's background it runs on, without commands
    const launch_options options = parse_command_line(front_end::adapter, argc, argv);
    if (const auto status = status_without_run(front_end::adapter, options))
        return *status;

    adapter_run state;
    emulation& run = *state.run;
    if (!prepare_device(run, options))
        return status_no_run;
    run.duration_ns = duration_ns(run, options);
    state.bus.encoder = map_encoder(run);
    state.began_ns = monotonic_ns();
    if (!plug(state))
        return status_no_run;
    run_until_stopped(state);
    unplug(state);
    flush(run.record);
    flush(run.stream.output);
    if (!write_summary(summary(run, state.bus.sessions), options.summary_path))
        return status_no_run;
    return faults_of(run, state.bus.sessions).empty() ? 0 : status_unsound;
}
