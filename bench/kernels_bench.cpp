#include "encoder.h"
#include "palette.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::size_t size_bytes(const subpicture_region& region)
{
    return plane_total * region.width * region.height;
}

/// A conversion overwrites its picture: each round begins with a copy of it.
template <auto convert> void conversion(benchmark::State& state, const bench_picture* picture)
{
    const drawn_page page = picture->draw();
    const subpicture_region& region = *page->regions;
    const std::vector<std::uint8_t> pixels(
        region.picture->buffer, region.picture->buffer + size_bytes(region));
    for ([[maybe_unused]] auto round : state) {
        std::memcpy(region.picture->buffer, pixels.data(), pixels.size());
        benchmark::DoNotOptimize(convert(page.get()));
    }
    state.SetItemsProcessed(state.iterations() * region.width * region.height);
}

template <auto encode> void encoding(benchmark::State& state, const bench_picture* picture)
{
    const drawn_page page = picture->draw();
    if (YuvaYuvp(page.get()) == nullptr)
        return state.SkipWithError("no memory");
    encoder* const opened = OpenEncoder();
    for ([[maybe_unused]] auto round : state)
        std::free(encode(opened, page.get()));
    CloseEncoder(opened);
    state.SetItemsProcessed(state.iterations() * page->regions->width * page->regions->height);
}

void add(const std::string& name, const bench_picture& picture,
    void (*run)(benchmark::State&, const bench_picture*))
{
    benchmark::RegisterBenchmark((name + picture.name).c_str(), run, &picture);
}

/// Items are pixels.
[[maybe_unused]] const bool registered = [] {
    for (const bench_picture& picture : bench_pictures()) {
        add("convert/plain/", picture, conversion<plain::YuvaYuvp>);
        add("convert/fast/", picture, conversion<YuvaYuvp>);
        add("encode/plain/", picture, encoding<plain::Encode>);
        add("encode/fast/", picture, encoding<Encode>);
    }
    return true;
}();

} // namespace
