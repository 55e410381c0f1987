#include "emulated_run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>

// What the daemon allocates, and holds, counted by the C library's own meter. Without the sanitizers, which
// allocate themselves.

namespace {

constexpr std::size_t services_max = 40;

/// A display set has a block of 64,000 bytes and 96 more; the refresh, the article and what is known of them
/// share the rest.
constexpr std::size_t service_bytes = 64'096 + 1'000;

struct memory_use {
    bool inserted = false; ///< whether the run came so far
    std::size_t allocated_bytes = 0;
    std::size_t peak_bytes = 0; ///< in use at the same time
};

memory_use measure(std::size_t articles, const std::vector<std::string>& options)
{
    const temporary_folder folder;
    write_shop(folder, static_cast<int>(articles));
    run_request request = shop_run(folder, options);
    request.program = BARE_DAEMON;
    request.settings.emplace_back("LD_PRELOAD", "libmemusage.so");
    request.settings.emplace_back(
        "MEMUSAGE_PROG_NAME", request.program.substr(request.program.rfind('/') + 1));
    const run_result result = run_daemon_emulated(request);
    EXPECT_EQ(result.daemon_end, at_work) << result.summary << result.errors;
    memory_use use{
        .inserted = std::regex_search(result.record, std::regex("write-byte 0: [13579BDF]"))}; // bit 4
    const std::size_t at = std::min(result.errors.find("heap total:"), result.errors.size());
    EXPECT_EQ(std::sscanf(&result.errors[at], "heap total: %zu, heap peak: %zu", &use.allocated_bytes,
                  &use.peak_bytes),
        2)
        << result.errors;
    return use;
}

} // namespace

/// The short run ends while the tables are written, the long one after several cycles. Fewer services need
/// the same fonts and pictures.
TEST(Memory, IsHeldForTheServicesAndNotAllocatedWhileInserting)
{
    const std::vector<std::string> until_programming{"--duration", "1", "--bus-clock", "30000"};
    const memory_use half = measure(services_max / 2, until_programming);
    const memory_use before = measure(services_max, until_programming);
    const memory_use after = measure(services_max, {"--duration", "60", "--bus-clock", "800000"});
    EXPECT_FALSE(before.inserted);
    EXPECT_TRUE(after.inserted);
    EXPECT_EQ(before.allocated_bytes, after.allocated_bytes);
    EXPECT_GT(before.peak_bytes, services_max * 64'000);
    EXPECT_LE(before.peak_bytes, half.peak_bytes + services_max / 2 * service_bytes);
}
