#include "counting.h"
#include "insertion.h"
#include "kernels.h"
#include "pictures.h"
#include "programming.h"
#include "registers.h"
#include "shop_services.h"
#include "shops.h"
#include "ts_packet.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <sys/resource.h>

// What the scripts beside it measure, one thing at a call. What happens in `counted_work` is meant to be
// counted, without `ioctl`, which stands for the kernel.

namespace {

using argument_list = std::span<const std::string_view>;

constexpr const char* usage_text = //
    "usage: measure convert|code PICTURE plain|fast    a kernel on one of the pictures\n"
    "       measure prepare KIND plain|fast            forty articles from their files to blocks\n"
    "       measure cycle FOLDER                       a streaming cycle of a shop; tells packets and "
    "requests\n"
    "       measure shop FOLDER KIND [ARTICLES]        writes a shop: all articles \"different\", or much "
    "\"shared\"\n"
    "       measure dump FOLDER                        writes the pictures, for machines without cairo\n";

struct form {
    bool valid = false;
    bool plainly = false;
};

form form_of(std::string_view word)
{
    return {.valid = word == "plain" || word == "fast", .plainly = word == "plain"};
}

bool is_kind(std::string_view word)
{
    return word == "different" || word == "shared";
}

shop_kind kind_of(std::string_view word)
{
    return word == "shared" ? shop_kind::shared : shop_kind::different;
}

bool measure_kernel(argument_list words)
{
    const bench_picture* const picture = words.size() == 3 ? find_picture(words[1]) : nullptr;
    if (picture == nullptr || !form_of(words[2]).valid)
        return false;
    const drawn_page page = picture->draw();
    if (!prepare_kernel(words[0], *page))
        return false;
    counted_work([&] { run_kernel(words[0], *page, form_of(words[2]).plainly); });
    return true;
}

bool measure_preparation(argument_list words)
{
    if (words.size() != 3 || !is_kind(words[1]) || !form_of(words[2]).valid)
        return false;
    std::array<char, 64> folder{"/tmp/tsinsertd-measure-XXXXXX"};
    if (mkdtemp(folder.data()) == nullptr)
        std::abort();
    const std::string path = std::string(folder.data()) + "/";
    write_shop(path, kind_of(words[1]));
    prepared_shop shop;
    const bool plainly = form_of(words[2]).plainly;
    counted_work([&] { shop = plainly ? prepare_shop_plainly(path) : prepare_shop(path); });
    std::filesystem::remove_all(path);
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    std::printf("peak resident size: %ld kB\n", use.ru_maxrss);
    return true;
}

std::uint32_t packets_of(const block& payload)
{
    constexpr std::uint32_t payload_size = packet_size - dvb_header_size;
    return (payload.length + pes_header_size + payload_size - 1) / payload_size;
}

std::uint32_t packets_of_cycle(const driver_state& shop)
{
    std::uint32_t packets = 0;
    for (const subtitle_stream& stream : std::span(shop.streams).first(shop.service_count))
        packets += packets_of(*stream.display_set) + (shop.service_count - 1) * packets_of(*stream.refresh);
    return packets;
}

bool measure_cycle(argument_list words)
{
    if (words.size() != 2)
        return false;
    const prepared_shop shop = prepare_shop(std::string(words[1]) + "/");
    auto insertion = program_device(0, *shop);
    const unsigned long before = device_requests();
    bool sent = insertion.has_value();
    counted_work([&] { sent = sent && run_streaming_cycle(0, *shop, *insertion); });
    if (!sent)
        std::abort();
    std::printf("%u packets, %lu requests\n", packets_of_cycle(*shop), device_requests() - before);
    return true;
}

bool make_shop(argument_list words)
{
    if (words.size() < 3 || words.size() > 4 || !is_kind(words[2]))
        return false;
    const int articles = words.size() == 4 ? std::atoi(words[3].data()) : 40;
    write_shop(std::string(words[1]) + "/", kind_of(words[2]), articles);
    return true;
}

/// A file holds the width and the height, 32 bits each in this machine's order, and the four planes.
bool dump_pictures(argument_list words)
{
    if (words.size() != 2)
        return false;
    for (const bench_picture& picture : bench_pictures()) {
        const drawn_page page = picture.draw();
        const subpicture_region& region = *page->regions;
        const std::array size{region.width, region.height};
        const std::size_t plane_bytes = std::size_t{region.width} * region.height;
        const std::string path = std::string(words[1]) + "/" + picture.name;
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        if (file == nullptr || std::fwrite(size.data(), sizeof size, 1, file) != 1
            || std::fwrite(region.picture->buffer, plane_bytes, plane_total, file) != plane_total
            || std::fclose(file) != 0) {
            std::perror(path.c_str());
            std::exit(1);
        }
    }
    return true;
}

struct subcommand {
    std::string_view name;
    bool (*run)(argument_list words) = nullptr; ///< false when the words make no sense
};

constexpr subcommand subcommands[] = {
    {"convert", measure_kernel},
    {"code", measure_kernel},
    {"prepare", measure_preparation},
    {"cycle", measure_cycle},
    {"shop", make_shop},
    {"dump", dump_pictures},
};

} // namespace

int main(int count, char** arguments)
{
    std::array<std::string_view, 4> words{};
    const auto given = static_cast<std::size_t>(count - 1);
    for (std::size_t i = 0; i < given && i < words.size(); ++i)
        words[i] = arguments[i + 1];
    for (const auto& [name, run] : subcommands)
        if (given >= 1 && given <= words.size() && name == words[0] && run(std::span(words).first(given)))
            return 0;
    std::fputs(usage_text, stderr);
    std::fputs("PICTURE is one of", stderr);
    for (const bench_picture& picture : bench_pictures())
        std::fprintf(stderr, " %s", picture.name);
    std::fputs(", KIND different or shared\n", stderr);
    return 2;
}
