#include "input.h"
#include "layout.h"
#include "memory_failures.h"
#include "memory_file.h"
#include "text_region.h"

#include <string>

namespace {

/// The first region of that name, found again.
const layout_region* first_named(const layout_region* head, const std::string& name)
{
    while (head != nullptr && (head->name == nullptr || name != head->name))
        head = head->next;
    return head;
}

void check_copies(const layout_region& region)
{
    region_format format;
    getRegionAttributes(format, region);
    require(static_cast<std::int32_t>(format.x) == region.x_pos);
    text_style style;
    getTextAttributes(style, region);
    for (const double part : {style.background.red, style.background.alpha, style.foreground.green})
        require(part >= 0 && part <= 1);
    require(style.font == region.font);
}

void run(const memory_file& file, const std::string& name)
{
    layout_region* const head = ParseXMLLayout(file.path.c_str());
    require(getRegionByName(head, name.c_str()) == first_named(head, name));
    for (const auto* region = head; region != nullptr; region = region->next) {
        require(region->name == nullptr || getRegionByName(head, region->name) != nullptr);
        check_copies(*region);
    }
    free_layout(head);
}

} // namespace

/// The layout file, the name to look up and, when anything follows, requests for memory that fail.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const memory_file file = new_memory_file();
    std::string_view input = text_of({bytes, size});
    fill(file, take_until(input, form_feed));
    const std::string_view wanted = take_until(input, form_feed);
    const std::string name(wanted.substr(0, wanted.find('\0')));
    const bool fail = !input.empty() && size <= failing_input_max_bytes;
    with_each_request_failing(fail, [&] { run(file, name); });
    return 0;
}
