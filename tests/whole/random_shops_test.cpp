#include "random_shop.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/inotify.h>
#include <unistd.h>

// The daemon, which uses images and coded regions again and encodes with vectors, beside one that does
// neither: both must send, say and open the same. RANDOM_SHOPS="FIRST COUNT" tries other shops than these.

namespace {

constexpr unsigned shops_tried = 200;

/// The files of a folder in the order in which they are opened, from here on.
struct opened_files {
    int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);

    explicit opened_files(const std::string& folder)
    {
        inotify_add_watch(watch, folder.c_str(), IN_OPEN);
    }
    opened_files(const opened_files&) = delete;
    opened_files& operator=(const opened_files&) = delete;
    ~opened_files()
    {
        close(watch);
    }
};

std::string names_of(const opened_files& opened)
{
    std::string names;
    alignas(inotify_event) std::array<char, 65536> events{};
    for (ssize_t size = 0; (size = read(opened.watch, events.data(), events.size())) > 0;)
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(&events[static_cast<std::size_t>(at)]);
            names += event->len == 0 ? "." : event->name;
            names += '\n';
            at += static_cast<ssize_t>(sizeof *event + event->len);
        }
    return names;
}

/// All that is seen of a run.
std::string seen_of(run_request request, const char* program, const temporary_folder& folder)
{
    request.program = program;
    const opened_files opened(folder.path.string());
    const run_result result = run_daemon_emulated(request);
    EXPECT_NE(result.daemon_end, "") << result.errors; // there was a run
    return result.daemon_end + "\n" + result.output + result.errors + names_of(opened) + result.record;
}

} // namespace

TEST(RandomShops, AreSentTheSameWithoutAnyReuse)
{
    std::uint64_t first = 1;
    unsigned count = shops_tried;
    if (const char* const wanted = std::getenv("RANDOM_SHOPS"); wanted != nullptr)
        std::istringstream(wanted) >> first >> count;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const temporary_folder folder;
        const run_request request = random_shop(folder, seed);
        const std::string shipped = seen_of(request, BARE_DAEMON, folder);
        const std::string plain = seen_of(request, PLAIN_DAEMON, folder);
        const auto place = std::ranges::mismatch(shipped, plain).in1 - shipped.begin();
        ASSERT_TRUE(shipped == plain)
            << "shop " << seed << ", from byte " << place << " on:\n"
            << shipped.substr(static_cast<std::size_t>(place), 400) << "\nbut plain:\n"
            << plain.substr(static_cast<std::size_t>(place), 400);
    }
}
