#include "layout.h"

#include "lists.h"
#include "text.h"
#include "xml_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace {

// What expat's handlers share during one parse.

constexpr std::int32_t outside_region = 0;
constexpr std::int32_t inside_region = 1;
constexpr std::int32_t inside_text = 15;
constexpr std::int32_t inside_image = 16;

struct layout_parser {
    std::int32_t status = outside_region;
    std::int32_t depth = 0; ///< of the element being handled; the root element has depth 1
    layout_region* head = nullptr;
    layout_region* current = nullptr; ///< the region being filled, always the last of the list
};

// How the value of an attribute goes into its field. A later value replaces an earlier one; a
// number without digits changes nothing.

template <char* layout_region::*text> void take_text(layout_region& region, const char* value)
{
    replace_text(region.*text, value);
}

template <std::int32_t layout_region::*number> void take_number(layout_region& region, const char* value)
{
    region.*number = parse_decimal(value).value_or(region.*number);
}

template <std::uint32_t layout_region::*colour> void take_colour(layout_region& region, const char* value)
{
    unsigned int word = 0;
    if (std::sscanf(value, "%8X", &word) == 1) // eight digits always fit
        region.*colour = word;
}

template <bool layout_region::*flag> void take_flag(layout_region& region, const char* value)
{
    region.*flag = std::string_view(value) == "yes";
}

struct attribute_rule {
    std::string_view name;
    void (*take)(layout_region& region, const char* value) = nullptr;
};

constexpr attribute_rule region_attributes[] = {
    {"name", take_text<&layout_region::name>},
    {"x_pos", take_number<&layout_region::x_pos>},
    {"y_pos", take_number<&layout_region::y_pos>},
    {"width", take_number<&layout_region::width>},
    {"height", take_number<&layout_region::height>},
};

constexpr attribute_rule text_attributes[] = {
    {"font", take_text<&layout_region::font>},
    {"size", take_number<&layout_region::size>},
    {"backgroundColor", take_colour<&layout_region::backgroundColor>},
    {"foregroundColor", take_colour<&layout_region::foregroundColor>},
    {"adjustRegionSize", take_flag<&layout_region::adjustRegionSize>},
};

constexpr attribute_rule image_attributes[] = {
    {"keepRatio", take_flag<&layout_region::keepRatio>},
};

/// An element that counts at its depth, inside its parent.
struct element_rule {
    std::string_view name;
    std::int32_t depth = 0;
    std::int32_t parent_status = 0;
    std::int32_t status = 0; ///< while the element lasts
    std::span<const attribute_rule> attributes;
};

constexpr element_rule elements[] = {
    {"region", 2, outside_region, inside_region, region_attributes},
    {"text", 3, inside_region, inside_text, text_attributes},
    {"image", 3, inside_region, inside_image, image_attributes},
};

/// The rule of the element at hand whose `status` (its own or its parent's) is that of the parser.
const element_rule* find_rule(
    const layout_parser& parser, std::int32_t element_rule::*status, std::string_view name)
{
    const auto* found = std::ranges::find_if(elements, [&](const element_rule& element) {
        return element.*status == parser.status && element.depth == parser.depth && element.name == name;
    });
    return found == std::end(elements) ? nullptr : found;
}

void read_attributes(layout_region& region, const element_rule& element, const char** attributes)
{
    for (; attributes[0] != nullptr && attributes[1] != nullptr; attributes += 2) {
        const std::string_view name = attributes[0];
        const auto rule = std::ranges::find(element.attributes, name, &attribute_rule::name);
        if (rule != element.attributes.end())
            rule->take(region, attributes[1]);
        else
            std::fprintf(stderr, "unknown attribut %s for element %s\n", attributes[0], element.name.data());
    }
}

[[nodiscard]] bool append_region(layout_parser& parser)
{
    auto* region = static_cast<layout_region*>(std::calloc(1, sizeof(layout_region)));
    if (region == nullptr) {
        std::fputs("calloc allocate memory\n", stderr);
        return false;
    }
    append_record(parser.head == nullptr ? &parser.head : &parser.current, region);
    parser.current = region;
    return true;
}

void begin_element(layout_parser& parser, const element_rule& element, const char** attributes)
{
    if (element.parent_status == outside_region && !append_region(parser))
        return;
    parser.status = element.status;
    read_attributes(*parser.current, element, attributes);
}

void report_stray_element(std::int32_t status, const char* name)
{
    if (status == inside_region)
        std::fprintf(stderr, "Invalid tag inside elem %s\n", name);
    else if (status != outside_region)
        std::fprintf(stderr, "Invalid parse status %d in elemStart\n", status);
}

// Expat's handlers

void elemLayoutStart(void* user_data, const char* name, const char** attributes)
{
    auto& parser = *static_cast<layout_parser*>(user_data);
    ++parser.depth;
    if (const auto* element = find_rule(parser, &element_rule::parent_status, name))
        begin_element(parser, *element, attributes);
    else
        report_stray_element(parser.status, name);
}

void elemLayoutEnd(void* user_data, const char* name)
{
    auto& parser = *static_cast<layout_parser*>(user_data);
    if (const auto* element = find_rule(parser, &element_rule::status, name))
        parser.status = element->parent_status;
    --parser.depth;
}

} // namespace

layout_region* ParseXMLLayout(const char* path)
{
    layout_parser parser;
    parse_xml_file(
        path, {.user_data = &parser, .start_element = elemLayoutStart, .end_element = elemLayoutEnd});
    return parser.head;
}

void free_layout(layout_region* first)
{
    while (first != nullptr) {
        layout_region* const next = first->next;
        std::free(first->name);
        std::free(first->font);
        std::free(first);
        first = next;
    }
}

const layout_region* getRegionByName(const layout_region* head, const char* name)
{
    if (name == nullptr)
        return nullptr;
    for (const auto* region = head; region != nullptr; region = region->next) {
        if (region->name != nullptr && std::string_view(region->name) == name)
            return region;
    }
    return nullptr;
}
