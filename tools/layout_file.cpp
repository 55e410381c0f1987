#include "layout_file.h"

#include "formatted.h"
#include "near_match.h"
#include "text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>

namespace {

constexpr std::string_view region_names[] = {"model", "price", "brand", "warranty"};
constexpr std::string_view root_children[] = {"region"};
constexpr std::string_view region_children[] = {"text", "image"};
constexpr std::string_view region_attributes[] = {"name", "x_pos", "y_pos", "width", "height"};
constexpr std::string_view text_attributes[] = {
    "font", "size", "foregroundColor", "backgroundColor", "adjustRegionSize"};
constexpr std::string_view image_attributes[] = {"keepRatio"};
constexpr std::string_view number_attributes[] = {"x_pos", "y_pos", "width", "height", "size"};
constexpr std::string_view flag_attributes[] = {"adjustRegionSize", "keepRatio"};

constexpr struct {
    std::string_view name;
    const char* digits;
} named_colours[] = {{"aqua", "FF00FFFF"}, {"black", "FF000000"}, {"blue", "FF0000FF"}, {"cyan", "FF00FFFF"},
    {"fuchsia", "FFFF00FF"}, {"gray", "FF808080"}, {"green", "FF008000"}, {"grey", "FF808080"},
    {"lime", "FF00FF00"}, {"magenta", "FFFF00FF"}, {"maroon", "FF800000"}, {"navy", "FF000080"},
    {"olive", "FF808000"}, {"orange", "FFFFA500"}, {"purple", "FF800080"}, {"red", "FFFF0000"},
    {"silver", "FFC0C0C0"}, {"teal", "FF008080"}, {"transparent", "00000000"}, {"white", "FFFFFFFF"},
    {"yellow", "FFFFFF00"}};

struct layout_reader {
    XML_Parser parser = nullptr;
    const file_bytes& file;
    layout_places places{};
    int depth = 0;
    bool in_region = false;
};

bool contains(std::span<const std::string_view> names, std::string_view name)
{
    return std::ranges::find(names, name) != names.end();
}

void add(layout_reader& reader, const file_place& at, finding found)
{
    found.at = {.file = reader.file.path, .line = at.line, .column = at.column};
    if (reader.in_region)
        found.region = reader.places.regions.back().name;
    reader.places.findings.push_back(std::move(found));
}

file_place place_of(const layout_reader& reader)
{
    const source_position at = position_of(reader.parser, {});
    return {.line = at.line, .column = at.column};
}

/// Where an attribute's name begins in a tag; the tag's beginning when it is not found, as in UTF-16.
std::size_t attribute_offset(std::string_view tag, std::string_view name)
{
    for (std::size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
        const std::size_t behind = tag.find_first_not_of(" \t\r\n", at + name.size());
        if (at > 0 && std::isspace(static_cast<unsigned char>(tag[at - 1])) != 0
            && behind != std::string_view::npos && tag[behind] == '=')
            return at;
    }
    return 0;
}

file_place attribute_place(const layout_reader& reader, std::string_view name)
{
    const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(reader.parser));
    const auto size = static_cast<std::size_t>(XML_GetCurrentByteCount(reader.parser));
    const std::string_view tag = std::string_view(reader.file.bytes).substr(begin, size);
    file_place place = place_of(reader);
    for (const char character : tag.substr(0, attribute_offset(tag, name))) {
        const bool is_character = (static_cast<unsigned char>(character) & 0xC0U) != 0x80;
        place.column = character == '\n' ? 1 : place.column + (is_character ? 1 : 0);
        place.line += character == '\n' ? 1 : 0;
    }
    return place;
}

// Values

/// The eight digits that were probably meant; empty when that cannot be told.
std::string meant_colour(std::string_view written)
{
    constexpr std::string_view blanks = " \t\r\n";
    written.remove_prefix(std::min(written.find_first_not_of(blanks), written.size()));
    written = written.substr(0, written.find_last_not_of(blanks) + 1);
    const auto* const named = std::ranges::find_if(
        named_colours, [&](const auto& each) { return equal_ignoring_case(each.name, written); });
    if (named != std::end(named_colours))
        return named->digits;
    if (written.starts_with('#'))
        written.remove_prefix(1);
    else if (written.starts_with("0x"))
        written.remove_prefix(2);
    const bool hexadecimal =
        std::ranges::all_of(written, [](unsigned char character) { return std::isxdigit(character) != 0; });
    if (!hexadecimal || (written.size() != 6 && written.size() != 8))
        return "";
    return (written.size() == 6 ? "FF" : "") + std::string(written);
}

/// What the daemon makes of a colour; 0 of what is none.
std::uint32_t colour_taken(const char* value)
{
    unsigned int word = 0;
    return std::sscanf(value, "%8X", &word) == 1 ? word : 0;
}

bool is_exact_colour(std::string_view value)
{
    return value.size() == 8
        && std::ranges::all_of(value, [](unsigned char digit) { return std::isxdigit(digit) != 0; });
}

/// What becomes of a colour that does not count as it is written, or vanishes; empty when nothing does.
std::string wrong_colour(bool is_ground, const char* name, const char* value)
{
    constexpr unsigned least_opacity = 16; // of a ground: 6 %
    const std::uint32_t taken = colour_taken(value);
    const unsigned opacity = taken >> 24;
    const bool is_none = is_ground && taken == 0;
    if (is_exact_colour(value) && (is_none || opacity > (is_ground ? least_opacity : 0)))
        return "";
    const char* const thing = is_ground ? "the ground of the text" : "the text";
    const char* const becomes = opacity == 0    ? "is invisible"
        : is_ground && opacity <= least_opacity ? "is hardly visible"
                                                : "has another colour";
    return formatted("%s %s: %s \"%s\" counts as %08X, opacity %u %%", thing, becomes, name, value, taken,
        (opacity * 100 + 127) / 255);
}

void check_colour(layout_reader& reader, const char* name, const char* value)
{
    const bool is_ground = std::string_view(name) == "backgroundColor";
    const std::string what = wrong_colour(is_ground, name, value);
    if (what.empty())
        return;
    const std::string meant =
        is_exact_colour(value) ? "FF" + std::string(value).substr(2) : meant_colour(value);
    const bool counts_as_meant = !meant.empty() && colour_taken(value) == colour_taken(meant.c_str());
    add(reader, attribute_place(reader, name),
        {.level = counts_as_meant ? severity::warning : severity::error,
            .kind = "wrong-colour",
            .what = counts_as_meant ? formatted("%s \"%s\" counts as %s", name, value, meant.c_str()) : what,
            .advice = (meant.empty() ? "write" : formatted("write \"%s\":", meant.c_str()))
                + " opacity, red, green, blue, two hexadecimal digits each (FF: opaque)"});
    reader.places.regions.back().has_colours = counts_as_meant;
}

void check_number(layout_reader& reader, const char* name, const char* value)
{
    const auto number = parse_decimal(value);
    if (!number)
        return add(reader, attribute_place(reader, name),
            {.level = severity::error,
                .kind = "no-number",
                .what = formatted("%s \"%s\" is not a number and counts as 0", name, value),
                .advice = "write a whole number of pixels, in digits"});
    const std::string_view text = value;
    if (std::string_view(name) == "size" && *number <= 0) {
        reader.places.regions.back().has_colours = false;
        return add(reader, attribute_place(reader, name),
            {.level = severity::error,
                .kind = "no-number",
                .what = formatted("the text is not drawn: its size is %d", *number),
                .advice = "write size=\"36\", or another number of pixels"});
    }
    if (text.find_first_not_of("+-0123456789") != std::string_view::npos && !text.ends_with("px"))
        add(reader, attribute_place(reader, name),
            {.level = severity::warning,
                .kind = "odd-number",
                .what = formatted("%s \"%s\" counts as %d pixels", name, value, *number),
                .advice = "write a whole number of pixels, in digits"});
}

void check_flag(layout_reader& reader, const char* name, std::string_view value)
{
    constexpr std::string_view no[] = {"yes", "no", "No", "NO", "false", "0", ""};
    if (!contains(no, value))
        add(reader, attribute_place(reader, name),
            {.level = severity::error,
                .kind = "not-yes",
                .what = formatted("%s \"%s\" counts as no", name, std::string(value).c_str()),
                .advice = R"(write "yes" or "no", in small letters)"});
}

void check_value(layout_reader& reader, const char* name, const char* value)
{
    if (contains(number_attributes, name))
        check_number(reader, name, value);
    else if (contains(flag_attributes, name))
        check_flag(reader, name, value);
    else if (std::string_view(name).ends_with("Color"))
        check_colour(reader, name, value);
}

// Elements

void report_unknown(layout_reader& reader, const char* thing, const char* name, const file_place& at,
    std::span<const std::string_view> known)
{
    const std::string_view near = near_match(name, known);
    add(reader, at,
        {.level = near.empty() ? severity::warning : severity::error,
            .kind = formatted("unknown-%s", thing),
            .what = formatted("unknown %s \"%s\": what it says is not used", thing, name),
            .advice = near.empty() ? "known here: " + list_of(known)
                                   : formatted("did you mean \"%s\"?", std::string(near).c_str())});
}

void check_attributes(layout_reader& reader, const char** attributes, std::span<const std::string_view> known)
{
    for (const char** each = attributes; *each != nullptr; each += 2) {
        if (contains(known, each[0]))
            check_value(reader, each[0], each[1]);
        else
            report_unknown(reader, "attribute", each[0], attribute_place(reader, each[0]), known);
    }
}

const char* attribute(const char** attributes, std::string_view name)
{
    for (; *attributes != nullptr; attributes += 2)
        if (name == attributes[0])
            return attributes[1];
    return nullptr;
}

void check_region_name(layout_reader& reader, const char* name)
{
    const file_place at = place_of(reader);
    const auto& regions = reader.places.regions;
    const std::string_view written = name == nullptr ? "" : name;
    if (contains(region_names, written)) {
        if (find_region(reader.places, written) != &regions.back())
            add(reader, at,
                {.level = severity::warning,
                    .kind = "double-region",
                    .what = formatted("the region \"%s\" comes twice: only the first one is shown", name),
                    .advice = "leave one of them out"});
        return;
    }
    const std::string_view near = near_match(written, region_names);
    add(reader, at,
        {.level = near.empty() ? severity::warning : severity::error,
            .kind = "unknown-region",
            .what = formatted("the region \"%s\" is never shown", std::string(written).c_str()),
            .advice = near.empty() ? "names of regions: " + list_of(region_names)
                                   : formatted("did you mean \"%s\"?", std::string(near).c_str())});
}

void begin_region(layout_reader& reader, const char** attributes)
{
    const char* const name = attribute(attributes, "name");
    reader.places.regions.push_back({.name = name == nullptr ? "" : name, .at = place_of(reader)});
    reader.in_region = true;
    check_region_name(reader, name);
    check_attributes(reader, attributes, region_attributes);
}

void check_missing(
    layout_reader& reader, const char** attributes, const char* name, const char* what, const char* advice)
{
    if (attribute(attributes, name) != nullptr)
        return;
    add(reader, place_of(reader),
        {.level = severity::error, .kind = "missing-attribute", .what = what, .advice = advice});
    reader.places.regions.back().has_colours = false;
}

void begin_text(layout_reader& reader, const char** attributes)
{
    reader.places.regions.back().text = place_of(reader);
    check_attributes(reader, attributes, text_attributes);
    check_missing(reader, attributes, "foregroundColor", "the text is invisible: it has no foregroundColor",
        "write foregroundColor=\"FFFFFFFF\" (white), or another colour");
    check_missing(reader, attributes, "size", "the text is not drawn: it has no size", "write size=\"36\"");
}

// Expat's handlers

void start_element(void* user_data, const char* name, const char** attributes)
{
    auto& reader = *static_cast<layout_reader*>(user_data);
    const std::string_view element = name;
    switch (++reader.depth) {
    case 2:
        return element == "region" ? begin_region(reader, attributes)
                                   : report_unknown(reader, "element", name, place_of(reader), root_children);
    case 3:
        if (!reader.in_region)
            return;
        if (element == "text")
            return begin_text(reader, attributes);
        return element == "image"
            ? check_attributes(reader, attributes, image_attributes)
            : report_unknown(reader, "element", name, place_of(reader), region_children);
    default:
        if (reader.depth > 3 && reader.in_region)
            report_unknown(reader, "element", name, place_of(reader), {});
    }
}

void end_element(void* user_data, const char* /*name*/)
{
    auto& reader = *static_cast<layout_reader*>(user_data);
    if (reader.depth-- == 2)
        reader.in_region = false;
}

void report_missing_regions(layout_reader& reader)
{
    reader.in_region = false;
    const bool none = std::ranges::none_of(
        region_names, [&](std::string_view name) { return find_region(reader.places, name) != nullptr; });
    if (none)
        return add(reader, {},
            {.level = severity::error,
                .kind = "no-region",
                .what = "the layout has none of the regions: viewers see the icons only",
                .advice = "write <region name=\"…\"> for " + list_of(region_names)});
    for (const std::string_view name : region_names)
        if (find_region(reader.places, name) == nullptr)
            add(reader, {},
                {.level = severity::note,
                    .kind = "no-region",
                    .what = formatted("the layout has no region \"%s\": it is not shown", name.data())});
}

source_position in_file(const layout_places& layout, const file_place& place)
{
    return {.file = layout.path, .line = place.line, .column = place.column};
}

} // namespace

layout_places read_layout(const file_bytes& file)
{
    layout_reader reader{.file = file};
    reader.places.path = file.path;
    const finding_list errors = parse_bytes(file, [&](XML_Parser parser) {
        reader.parser = parser;
        XML_SetUserData(parser, &reader);
        XML_SetElementHandler(parser, start_element, end_element);
    });
    if (errors.empty())
        report_missing_regions(reader);
    auto& findings = reader.places.findings;
    findings.insert(findings.end(), errors.begin(), errors.end());
    return reader.places;
}

const layout_element* find_region(const layout_places& layout, std::string_view name)
{
    const auto found = std::ranges::find(layout.regions, name, &layout_element::name);
    return found == layout.regions.end() ? nullptr : &*found;
}

source_position region_position(const layout_places& layout, std::string_view name)
{
    const layout_element* const region = find_region(layout, name);
    return in_file(layout, region == nullptr ? file_place{} : region->at);
}

source_position text_position(const layout_places& layout, std::string_view name)
{
    const layout_element* const region = find_region(layout, name);
    return region != nullptr && region->text.line != 0 ? in_file(layout, region->text)
                                                       : region_position(layout, name);
}
