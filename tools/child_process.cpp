#include "child_process.h"

#include "formatted.h"
#include "handles.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern "C" {
#include <sys/pidfd.h> // of glibc 2.36 is for C alone
}

namespace {

struct process_files {
    owned_file output{std::tmpfile()};
    owned_file messages{std::tmpfile()};
};

/// Signals that this program waits for are none of the other's business.
void let_signals_through(posix_spawnattr_t& attributes)
{
    sigset_t none{};
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
}

/// Returns the process, or -1 with the reason in `errno`.
pid_t start(const std::vector<std::string>& arguments, const process_files& files)
{
    std::vector<std::string> words = arguments;
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, fileno(files.output.get()), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(files.messages.get()), STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1); // connections of browsers
    let_signals_through(attributes);
    pid_t process = -1;
    errno = posix_spawn(&process, "/proc/self/exe", &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return errno == 0 ? process : -1;
}

/// Waits for one of the three. A process that is not to be waited for any longer is killed.
void wait_for_end(process_end& end, pid_t process, std::chrono::seconds time_limit, int call_off)
{
    const int descriptor = pidfd_open(process, 0);
    std::array<pollfd, 2> watched{pollfd{.fd = descriptor, .events = POLLIN, .revents = 0},
        pollfd{.fd = call_off, .events = POLLIN, .revents = 0}};
    const auto limit_ms = static_cast<int>(std::chrono::milliseconds(time_limit).count());
    const bool in_time = poll(watched.data(), watched.size(), limit_ms) > 0;
    end.is_called_off = watched[1].revents != 0;
    if (!in_time)
        end.failure = formatted("it took longer than %d s", limit_ms / 1000);
    if (watched[0].revents == 0)
        kill(process, SIGKILL);
    close(descriptor);
}

} // namespace

process_end run_again(
    const std::vector<std::string>& arguments, std::chrono::seconds time_limit, int call_off)
{
    const process_files files;
    if (!files.output || !files.messages)
        return {.failure = std::string("no temporary file: ") + std::strerror(errno)};
    const pid_t process = start(arguments, files);
    if (process < 0)
        return {.failure = std::strerror(errno)};
    process_end end;
    wait_for_end(end, process, time_limit, call_off);
    int status = 0;
    waitpid(process, &status, 0);
    if (WIFEXITED(status))
        end.status = WEXITSTATUS(status);
    else if (end.failure.empty())
        end.failure = formatted("it ended by signal %d", WTERMSIG(status));
    end.output = content_of(files.output.get());
    end.messages = content_of(files.messages.get());
    return end;
}

std::string content_of(std::FILE* file)
{
    std::string content;
    std::array<char, 65536> piece{};
    std::rewind(file);
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file))
        content.append(piece.data(), count);
    return content;
}
