#include "articles.h"
#include "display_set.h"
#include "encoder.h"
#include "input.h"
#include "memory_failures.h"
#include "memory_file.h"
#include "page_check.h"
#include "sanitizer_options.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

constexpr int articles_max = 3;
constexpr std::size_t pixels_to_encode_max = 1U << 17; // the banner alone has 48,400

/// What the daemon keeps from one article to the next, and the blocks that it needs for that.
struct kept_drawings {
    image_cache images{};
    coded_regions encoded{};
    std::vector<owned_block> blocks{};
};

owned_block encode(subpicture& page, coded_regions* encoded)
{
    const owned_encoder opened(OpenEncoder());
    if (!opened)
        return nullptr;
    opened->encoded = encoded;
    return owned_block(Encode(opened.get(), &page));
}

/// Draws and encodes an article with what was kept of those before.
void check_reuse(const item& article, const layout_region* regions, kept_drawings& kept, subpicture& alone)
{
    const owned_subpicture again =
        draw_article(article, regions, {.folder = SAMPLE_ICONS, .cache = &kept.images});
    if (!again)
        return;
    const block* const data = kept.blocks.emplace_back(encode(*again, &kept.encoded)).get();
    const owned_block expected = encode(alone, nullptr);
    if (data != nullptr && expected
        && !std::equal(
            data->buffer, data->buffer + data->length, expected->buffer, expected->buffer + expected->length))
        std::abort();
}

void run(std::string_view articles, std::string_view layout, bool requests_fail)
{
    static const memory_file file = new_memory_file();
    fill(file, articles);
    item* const head = ParseXMLInfostv(file.path.c_str());
    fill(file, layout);
    layout_region* const regions = ParseXMLLayout(file.path.c_str());
    kept_drawings kept;
    int left = articles_max;
    for (const auto* article = head; article != nullptr && left > 0; article = article->next, --left) {
        const owned_subpicture display_set = draw_article(*article, regions, {.folder = SAMPLE_ICONS});
        if (!display_set || pixels_of(*display_set) > pixels_to_encode_max)
            continue;
        encode_and_check(*display_set);
        if (!requests_fail) // or one of the two would lack something
            check_reuse(*article, regions, kept, *display_set);
    }
    free_layout(regions);
    free_articles(head);
}

} // namespace

/// The article file, the layout file and, when anything follows, requests for memory that fail.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    std::string_view input = text_of({bytes, size});
    const std::string_view articles = take_until(input, form_feed);
    const std::string_view layout = take_until(input, form_feed);
    const bool fail = !input.empty() && size <= failing_input_max_bytes;
    with_each_request_failing(fail, [&] { run(articles, layout, fail); });
    forget_fonts();
    return 0;
}
