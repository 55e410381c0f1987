#include "articles.h"
#include "display_set.h"
#include "input.h"
#include "lists.h"
#include "memory_failures.h"
#include "memory_file.h"
#include "page_check.h"
#include "sanitizer_options.h"

namespace {

constexpr int articles_max = 3;
constexpr std::size_t pixels_to_encode_max = 1U << 17; // the banner alone has 48,400

void run(std::string_view articles, std::string_view layout)
{
    static const memory_file file = new_memory_file();
    fill(file, articles);
    item* const head = ParseXMLInfostv(file.path.c_str());
    fill(file, layout);
    layout_region* const regions = ParseXMLLayout(file.path.c_str());
    int left = articles_max;
    for (const auto* article = head; article != nullptr && left > 0; article = article->next, --left) {
        const owned_subpicture display_set = draw_article(*article, regions, SAMPLE_ICONS);
        if (display_set && pixels_of(*display_set) <= pixels_to_encode_max)
            encode_and_check(*display_set);
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
    with_each_request_failing(fail, [&] { run(articles, layout); });
    forget_fonts();
    return 0;
}
