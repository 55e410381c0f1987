#include "insertion.h"
#include "programming.h"
#include "ready_device.h"
#include "shop_services.h"
#include "shops.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

/// The files of a shop of forty articles, as long as the program runs.
struct shop_folder {
    explicit shop_folder(shop_kind kind)
    {
        std::array<char, 64> name{"/tmp/tsinsertd-bench-XXXXXX"};
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        path = std::string(name.data()) + "/";
        write_shop(path, kind);
    }
    ~shop_folder()
    {
        std::filesystem::remove_all(path);
    }
    shop_folder(const shop_folder&) = delete;
    shop_folder& operator=(const shop_folder&) = delete;

    std::string path{};
};

const std::string& folder_of(shop_kind kind)
{
    static const shop_folder different(shop_kind::different);
    static const shop_folder shared(shop_kind::shared);
    return kind == shop_kind::different ? different.path : shared.path;
}

template <auto prepare, shop_kind kind> void preparation(benchmark::State& state)
{
    const std::string& folder = folder_of(kind);
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(prepare(folder));
}

/// What the daemon itself does for each request; the kernel and the bus take far longer.
void cycle(benchmark::State& state)
{
    const prepared_shop shop = prepare_shop(folder_of(shop_kind::shared));
    auto insertion = program_device(0, *shop);
    if (!insertion)
        return state.SkipWithError("no room for the tables");
    const unsigned long before = device_requests();
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(run_streaming_cycle(0, *shop, *insertion));
    state.SetItemsProcessed(static_cast<std::int64_t>(device_requests() - before));
}

} // namespace

// Forty articles from XML to blocks.
BENCHMARK_TEMPLATE(preparation, prepare_shop_plainly, shop_kind::different)
    ->Name("prepare/plain/different")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(preparation, prepare_shop, shop_kind::different)
    ->Name("prepare/fast/different")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(preparation, prepare_shop_plainly, shop_kind::shared)
    ->Name("prepare/plain/shared")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(preparation, prepare_shop, shop_kind::shared)
    ->Name("prepare/fast/shared")
    ->Unit(benchmark::kMillisecond);
// Items are requests of the bus.
BENCHMARK(cycle)->Name("cycle/forty services")->Unit(benchmark::kMillisecond);
