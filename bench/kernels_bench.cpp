#include "encoder.h"
#include "palette.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

const auto last_picture = static_cast<std::int64_t>(bench_pictures().size()) - 1;

std::size_t size_bytes(const subpicture_region& region)
{
    return plane_total * region.width * region.height;
}

/// The picture of the number that the round has as its argument.
drawn_page draw_for(benchmark::State& state)
{
    const bench_picture& picture = bench_pictures()[static_cast<std::size_t>(state.range(0))];
    state.SetLabel(picture.name);
    return picture.draw();
}

/// A conversion overwrites its picture: each round begins with a copy of it.
template <auto convert> void conversion(benchmark::State& state)
{
    const drawn_page page = draw_for(state);
    const subpicture_region& region = *page->regions;
    const std::vector<std::uint8_t> pixels(
        region.picture->buffer, region.picture->buffer + size_bytes(region));
    for ([[maybe_unused]] auto round : state) {
        std::memcpy(region.picture->buffer, pixels.data(), pixels.size());
        benchmark::DoNotOptimize(convert(page.get()));
    }
    state.SetItemsProcessed(state.iterations() * region.width * region.height);
}

template <auto encode> void encoding(benchmark::State& state)
{
    const drawn_page page = draw_for(state);
    if (YuvaYuvp(page.get()) == nullptr)
        return state.SkipWithError("no memory");
    encoder* const opened = OpenEncoder();
    for ([[maybe_unused]] auto round : state)
        std::free(encode(opened, page.get()));
    CloseEncoder(opened);
    state.SetItemsProcessed(state.iterations() * page->regions->width * page->regions->height);
}

} // namespace

// Once for each picture; items are pixels.
BENCHMARK_TEMPLATE(conversion, plain::YuvaYuvp)->Name("convert/plain")->DenseRange(0, last_picture);
BENCHMARK_TEMPLATE(conversion, YuvaYuvp)->Name("convert/fast")->DenseRange(0, last_picture);
BENCHMARK_TEMPLATE(encoding, plain::Encode)->Name("encode/plain")->DenseRange(0, last_picture);
BENCHMARK_TEMPLATE(encoding, Encode)->Name("encode/fast")->DenseRange(0, last_picture);
