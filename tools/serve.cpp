#include "serve.h"

#include "page_server.h"
#include "preview.h"
#include "served_page.h"
#include "watch.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

constexpr int pause_ms = 100;     ///< between two looks at the files
constexpr int longest_pauses = 5; ///< for which a file that goes on changing is waited for
constexpr auto drawing_limit = std::chrono::seconds(60);

/// A descriptor from which SIGINT and SIGTERM can be read, which do nothing else any longer, in no thread.
int catch_signals()
{
    sigset_t ends{};
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    return signalfd(-1, &ends, SFD_CLOEXEC);
}

/// Whether the program is to end.
bool pause_or_end(int signals)
{
    pollfd watched{.fd = signals, .events = POLLIN, .revents = 0};
    return poll(&watched, 1, pause_ms) > 0;
}

std::vector<std::string> arguments_of_drawing(const preview_options& options)
{
    std::vector<std::string> arguments{"tsinsert-preview", "--format", "page", "--resources",
        options.resources, "--background", options.background};
    for (const auto& [name, value] :
        {std::pair("--host", options.host), std::pair("--article", options.article)})
        if (!value.empty())
            arguments.insert(arguments.end(), {name, value});
    return arguments;
}

/// Numbers of an earlier run's documents must not come again: a browser that has stayed would miss one.
std::uint64_t first_revision()
{
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

void tell(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

/// Draws whenever the files are others than those drawn. An editor may still be writing them: they are to
/// stay the same for a pause, but not for ever.
void follow_files(page_server& server, const preview_options& options, int signals)
{
    served_page page{.revision = first_revision()};
    std::string drawn;
    std::string before;
    int pauses = 0; // since the first change
    do {
        const std::string now = state_of_files(options.resources, options.background);
        pauses = now == drawn ? 0 : pauses + 1;
        if (now != drawn && (now == before || drawn.empty() || pauses > longest_pauses)) {
            const process_end drawing = run_again(arguments_of_drawing(options), drawing_limit, signals);
            if (drawing.is_called_off)
                return;
            take_drawing(page, drawing);
            publish(server, page.revision, page.document);
            tell(line_about(page));
            drawn = now;
            pauses = 0;
        }
        before = now;
    } while (!pause_or_end(signals));
}

} // namespace

int serve_page(const preview_options& options)
{
    const int signals = catch_signals();
    const opened_server opened =
        open_page_server({.address = options.address, .port = *port_of(options.serve)});
    if (!opened.error.empty()) {
        std::fprintf(stderr, "tsinsert-preview: %s\n", opened.error.c_str());
        return status_no_preview;
    }
    const bool is_ipv6 = options.address.find(':') != std::string::npos;
    tell("The page is at http://" + (is_ipv6 ? "[" + options.address + "]" : options.address) + ":"
        + std::to_string(opened.port) + "/ until Ctrl-C ends it.");
    follow_files(*opened.server, options, signals);
    close(signals);
    return status_well;
}
