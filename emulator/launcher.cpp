// epld-emulator: runs the daemon with the emulated device beneath it.

#include "options.h"
#include "report.h"
#include "setup.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* library_name = "libepld-emulator.so";
constexpr std::int64_t second_ns = 1'000'000'000;
constexpr std::int64_t default_duration_s = 60;

/// A descriptor that the daemon's process inherits.
int shared_memory(const char* name, std::size_t size)
{
    const int descriptor = memfd_create(name, 0);
    if (descriptor >= 0 && ftruncate(descriptor, static_cast<off_t>(size)) != 0)
        return -1;
    return descriptor;
}

bool provide_version_file(emulation& run, const std::string& generation)
{
    if (generation == "none")
        return true;
    const std::string content = generation + "\n";
    run.version_descriptor = shared_memory("version", 0);
    if (run.version_descriptor < 0
        || write(run.version_descriptor, content.data(), content.size())
            != static_cast<ssize_t>(content.size()))
        return complain("cannot provide the version file");
    return true;
}

std::int64_t duration_ns(const emulation& run, const launch_options& options)
{
    if (options.duration_s != 0)
        return options.duration_s * second_ns;
    if (run.encoder_size != 0)
        return encoder_end_us(run.stream) * 1000;
    return default_duration_s * second_ns;
}

bool prepare(emulation& run, const launch_options& options)
{
    run.real_time = options.real_time;
    const char* const output = std::getenv("PREF_SYSTEM_STREAMER_1_OUTPUT");
    run.output_on_ethernet = output != nullptr && std::strcmp(output, "Ethernet") == 0;
    run.start_s = options.start_s >= 0 ? options.start_s : std::time(nullptr);
    run.clock_set_at_ns = options.clock_set.at_s * second_ns;
    run.clock_set_by_s = options.clock_set.by_s;

    if (options.resources.size() >= run.resources.size())
        return complain("the name of the resources folder is too long");
    std::copy(options.resources.begin(), options.resources.end(), run.resources.begin());
    if (!options.resources.empty() && !std::filesystem::is_directory(options.resources))
        return complain("there is no folder " + options.resources);
    if (!provide_version_file(run, options.generation) || !prepare_device(run, options))
        return false;
    run.duration_ns = duration_ns(run, options);
    return true;
}

std::filesystem::path own_folder()
{
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

/// A file that lies beside this program where it was built, and in a folder of its own where it was
/// installed. Empty when it is in neither place.
std::filesystem::path find_own(const char* name, const char* installed_folder)
{
    for (const auto& path : {own_folder() / name, own_folder() / installed_folder / name})
        if (std::filesystem::exists(path))
            return path.lexically_normal();
    return {};
}

void add_to_variable(const char* name, const std::string& value, char separator)
{
    const char* const present = std::getenv(name);
    setenv(name, (present == nullptr ? value : value + separator + present).c_str(), 1);
}

/// LD_PRELOAD takes a blank or a colon in a path for its end; such a library is named by a descriptor.
std::string preload_path()
{
    std::string path = find_own(library_name, LIBRARY_FOLDER).string();
    if (path.find_first_of(" :") == std::string::npos)
        return path;
    return "/proc/self/fd/" + std::to_string(open(path.c_str(), O_RDONLY));
}

/// A daemon without a folder is our own before it is one of the search path: an ordinary user's lacks sbin.
std::string daemon_path(const char* name)
{
    const bool bare_name = std::strchr(name, '/') == nullptr;
    const auto own = bare_name ? find_own(name, DAEMON_FOLDER) : std::filesystem::path();
    return own.empty() ? name : own.string();
}

[[noreturn]] void become_daemon(const launch_options& options, emulation& run, int memory_descriptor)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    add_to_variable("LD_PRELOAD", preload_path(), ':');
    // The address sanitizer wants to be the first library; beneath it, this one works as well.
    add_to_variable("ASAN_OPTIONS", "verify_asan_link_order=0", ':');
    setenv(emulation::memory_variable, std::to_string(memory_descriptor).c_str(), 1);

    auto command = options.command;
    const std::string program = daemon_path(command.front());
    command.push_back(nullptr);
    execvp(program.c_str(), command.data());
    complain_about("cannot run", program);
    run.exec_failed = true;
    _exit(status_no_run);
}

void show_progress(const emulation& run)
{
    std::fprintf(stderr, "\r%lld of %lld s (%lld %%) ", static_cast<long long>(run.now_ns / second_ns),
        static_cast<long long>(run.duration_ns / second_ns),
        static_cast<long long>(run.now_ns / (run.duration_ns / 100 + 1)));
}

/// Waits for the daemon's end, and shows meanwhile how far a long run has come. An interrupted run still
/// has its summary.
daemon_end wait_for_daemon(pid_t daemon, const emulation& run, const sigset_t& signals)
{
    const bool terminal = isatty(STDERR_FILENO) != 0;
    constexpr timespec interval{.tv_sec = 0, .tv_nsec = 500'000'000};
    daemon_end end;
    bool shown = false;
    while (waitpid(daemon, &end.status, WNOHANG) == 0) {
        const int signal = sigtimedwait(&signals, nullptr, &interval);
        if (signal == SIGINT || signal == SIGTERM)
            kill(daemon, SIGTERM);
        if (signal < 0 && terminal) {
            show_progress(run);
            shown = true;
        }
    }
    if (shown)
        std::fputs("\r                                        \r", stderr);
    return end;
}

daemon_end run_daemon(const launch_options& options, emulation& run, int memory_descriptor)
{
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGINT, SIGTERM})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &former);
    const pid_t daemon = fork();
    if (daemon == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        sigprocmask(SIG_SETMASK, &former, nullptr);
        become_daemon(options, run, memory_descriptor);
    }
    return wait_for_daemon(daemon, run, signals);
}

} // namespace

int main(int argc, char** argv)
{
    keep_standard_streams();
    std::signal(SIGPIPE, SIG_IGN); // a player that ends is said to be a fault of the output
    const launch_options options = parse_command_line(front_end::launcher, argc, argv);
    if (const auto status = status_without_run(front_end::launcher, options))
        return *status;

    const int memory_descriptor = shared_memory("epld-emulator", sizeof(emulation));
    void* const memory = memory_descriptor < 0
        ? MAP_FAILED
        : mmap(nullptr, sizeof(emulation), PROT_READ | PROT_WRITE, MAP_SHARED, memory_descriptor, 0);
    if (memory == MAP_FAILED) {
        complain_about("cannot get", "memory for the device");
        return status_no_run;
    }
    auto& run = *new (memory) emulation;
    if (!prepare(run, options))
        return status_no_run;

    const daemon_end end = run_daemon(options, run, memory_descriptor);
    flush(run.record);
    flush(run.stream.output);
    if (run.exec_failed)
        return status_no_run;
    if (run.daemon == 0) {
        complain("the daemon did not run with the device beneath it (is it linked statically?)");
        return status_no_run;
    }
    if (!write_summary(summary(run, end), options.summary_path))
        return status_no_run;
    return faults_of(run, end).empty() ? 0 : status_unsound;
}
