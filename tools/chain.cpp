#include "chain.h"

#include "child_process.h"
#include "formatted.h"
#include "handles.h"
#include "host_check.h"
#include "layout.h"
#include "silence.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fontconfig/fontconfig.h>
#include <memory>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using owned_layout = std::unique_ptr<layout_region, releaser<free_layout>>;

/// What all processes begin with.
struct chain {
    const shop_files& files;
    const driver_state& settings;
    owned_layout layout{};
    sound_regions sound{};
};

/// Memory that the processes share: chains show the same articles in many shops. Without it all goes slower.
sound_regions share_sound_regions()
{
    constexpr std::size_t count = std::size_t{1} << 18;
    void* const memory = mmap(
        nullptr, count * sizeof(pixel_digest), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? sound_regions{}
                                : sound_regions{.slots = {static_cast<pixel_digest*>(memory), count}};
}

/// A process that checks a host and leaves its findings in a file without a name.
struct running_check {
    std::string host{};
    pid_t process = -1;
    owned_file message{};
};

/// What the process does. It ends without giving back memory.
void check_one(const chain& all, const std::string& host, std::FILE* message)
{
    const silence quiet(stdout);
    const silence messages(stderr); // findings tell more of what they tell
    driver_state state = all.settings;
    load_host(state, all.files, host, all.layout.get());
    finding_groups findings;
    add_findings(findings, check_host(state, all.files, host, {.sound = all.sound}).findings);
    const std::size_t articles = all.files.hosts.at(host).size();
    const check_summary summary{.hosts = 1,
        .articles = state.service_count,
        .dropped_over_forty = articles - std::min<std::size_t>(articles, services_max)};
    std::fputs(write_message(summary, findings).c_str(), message);
    std::fflush(message);
}

running_check start_check(const chain& all, const std::string& host)
{
    running_check check{.host = host, .message = owned_file(std::tmpfile())};
    if (!check.message)
        return check;
    std::fflush(nullptr); // or the process would write it once more
    check.process = fork();
    if (check.process == 0) {
        check_one(all, host, check.message.get());
        _exit(0);
    }
    return check;
}

void end_check(const running_check& check, check_summary& summary, finding_groups& findings)
{
    int status = -1;
    const bool well = check.process > 0 && waitpid(check.process, &status, 0) == check.process && status == 0
        && add_message(content_of(check.message.get()), summary, findings);
    if (!well)
        add_finding(findings,
            {.level = severity::error,
                .kind = "software-fault",
                .host = check.host,
                .what = formatted("the host could not be checked (status %d)", status),
                .advice = "look at it by itself, with --host"});
}

void show_progress(std::size_t done, std::size_t all)
{
    if (isatty(STDERR_FILENO) == 0)
        return;
    std::fprintf(stderr, "\r%zu of %zu hosts%s", done, all, done == all ? "\n" : "");
    std::fflush(stderr);
}

} // namespace

void check_all_hosts(
    const shop_files& files, const driver_state& settings, check_summary& summary, finding_groups& findings)
{
    FcInit(); // once for all processes
    const chain all{.files = files,
        .settings = settings,
        .layout = owned_layout(ParseXMLLayout(files.layout.path.c_str())),
        .sound = share_sound_regions()};
    const auto cores = static_cast<std::size_t>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
    std::deque<running_check> running;
    std::size_t done = 0;
    const auto end_first = [&] {
        end_check(running.front(), summary, findings);
        running.pop_front();
        show_progress(++done, files.hosts.size());
    };
    for (const auto& [host, articles] : files.hosts) {
        if (running.size() >= cores)
            end_first();
        running.push_back(start_check(all, host));
    }
    while (!running.empty())
        end_first();
    if (!all.sound.slots.empty())
        munmap(all.sound.slots.data(), all.sound.slots.size_bytes());
}
