#include "shop_files.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

// What the daemon allocates, and holds. Without the sanitizers, which do so themselves.

namespace {

constexpr std::size_t services_max = 40;

/// A display set has a block of 64,000 bytes and 96 more; the refresh, the article and what the C
/// library adds to each share the rest.
constexpr std::size_t service_bytes = 64'096 + 1'000;

/// All else that is resident: nearly 8 MiB are pages of the libraries, fonts and the daemon itself.
constexpr std::size_t other_bytes = 24 << 20;

struct memory_use {
    bool inserted = false; ///< whether the run came so far
    std::size_t allocations = 0;
    std::size_t heap_bytes = 0; ///< in use at the end
    std::size_t resident_bytes = 0;
    std::size_t peak_bytes = 0;
};

std::size_t number_behind(const std::string& text, const std::string& name)
{
    std::size_t number = 0;
    std::istringstream(text.substr(std::min(text.find("\n" + name) + name.size() + 1, text.size())))
        >> number;
    return number;
}

memory_use measure(std::size_t articles, const std::vector<std::string>& options)
{
    const temporary_folder folder;
    write_shop(folder, static_cast<int>(articles));
    const std::string report = (folder.path / "memory").string();
    run_request request = shop_run(folder, options);
    request.settings.emplace_back("LD_PRELOAD", MEMORY_METER);
    request.settings.emplace_back("MEMORY_METER", report);
    request.program = PLAIN_DAEMON;
    const run_result result = run_daemon_emulated(request);
    EXPECT_EQ(result.emulator_status, 0) << result.summary << result.errors;
    const std::string text = "\n" + read_file(report);
    return {.inserted = std::any_of(result.requests.begin(), result.requests.end(),
                [](const auto& recorded) {
                    return recorded.kind == "write-byte" && (recorded.bytes[0] & 0x10) != 0;
                }),
        .allocations = number_behind(text, "Allocations:"),
        .heap_bytes = number_behind(text, "Heap:"),
        .resident_bytes = 1024 * number_behind(text, "VmRSS:"),
        .peak_bytes = 1024 * number_behind(text, "VmHWM:")};
}

} // namespace

/// The short run ends while the tables are written, the long one after several cycles.
TEST(Memory, IsNotAllocatedWhileInserting)
{
    const memory_use before = measure(services_max, {"--duration", "1", "--bus-clock", "30000"});
    const memory_use after = measure(services_max, {"--duration", "60", "--bus-clock", "800000"});
    EXPECT_FALSE(before.inserted);
    EXPECT_TRUE(after.inserted);
    EXPECT_GT(before.allocations, 0U);
    EXPECT_EQ(before.allocations, after.allocations);
}

/// The heap is compared with that of fewer services, which hold the same fonts.
TEST(Memory, IsHeldForTheBlocksOfTheServicesAndLittleMore)
{
    const std::vector<std::string> options{"--duration", "30", "--bus-clock", "400000"};
    const memory_use half = measure(services_max / 2, options);
    const memory_use all = measure(services_max, options);
    EXPECT_GT(all.heap_bytes, services_max * 64'000);
    EXPECT_LE(all.heap_bytes, half.heap_bytes + services_max / 2 * service_bytes);
    EXPECT_LE(all.peak_bytes, services_max * service_bytes + other_bytes);
    EXPECT_LE(all.resident_bytes, all.peak_bytes);
    RecordProperty("resident_bytes", std::to_string(all.resident_bytes));
    RecordProperty("peak_bytes", std::to_string(all.peak_bytes));
}
