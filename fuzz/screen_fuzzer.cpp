#include "articles.h"
#include "display_set.h"
#include "input.h"
#include "lists.h"
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

owned_block encode(subpicture& page)
{
    const owned_encoder opened(OpenEncoder());
    return owned_block(opened ? Encode(opened.get(), &page) : nullptr);
}

/// Draws and encodes an article with what it has in common with those before, whose blocks are kept for it.
void reuse(const item& article, const layout_region* regions, common_drawings& common, subpicture& alone,
    std::vector<owned_block>& kept)
{
    const owned_subpicture again = draw_article(article, regions, SAMPLE_ICONS, &common);
    if (!again)
        return;
    const block* const data = kept.emplace_back(encode(*again)).get();
    const owned_block expected = encode(alone);
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
    common_drawings common;
    std::vector<owned_block> kept;
    int left = articles_max;
    for (const auto* article = head; article != nullptr && left > 0; article = article->next, --left) {
        const owned_subpicture display_set = draw_article(*article, regions, SAMPLE_ICONS);
        if (!display_set || pixels_of(*display_set) > pixels_to_encode_max)
            continue;
        encode_and_check(*display_set);
        if (!requests_fail) // or one of the two would lack something
            reuse(*article, regions, common, *display_set, kept);
    }
    free_all(regions);
    free_all(head);
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
