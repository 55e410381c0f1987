#include "articles.h"

#include "handles.h"
#include "lists.h"
#include "resources.h"
#include "text.h"
#include "xml_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

namespace {

// What expat's handlers share during one parse. The status goes on from 2 with a number for each field.

constexpr std::int32_t build_list = 0;
constexpr std::int32_t merge_reference = 1;

constexpr std::int32_t outside_article = 0; // also while an unknown article of the reference file lasts
constexpr std::int32_t inside_article = 1;

/// The articles that have a code, sorted by it, of equal codes the first in the list first.
struct article_index {
    std::unique_ptr<item* [], releaser<std::free>> articles {}; ///< null when there is no memory
    std::size_t count = 0;
};

struct article_parser {
    std::int32_t mode = build_list;
    std::int32_t status = outside_article;
    std::int32_t depth = 0;    ///< of the element being handled; the root element has depth 1
    item* head = nullptr;      ///< first article: the list that grows, or the list to complete
    item* current = nullptr;   ///< the article being filled; the last one of a list that grows
    std::string_view folder{}; ///< of the file, up to its last slash: the logos lie beside it
    article_index index{};     ///< of the list to complete
};

// How one piece of character data goes into a field. Expat may hand over a text in several pieces;
// where a field keeps the first one, what follows a line end or an escaped character is dropped.

using text_member = char* item::*;
using flag_member = std::uint8_t item::*;

template <text_member text> void keep_first(const article_parser& parser, std::string_view piece)
{
    char*& kept = parser.current->*text;
    if (kept == nullptr)
        kept = copy_text(piece);
}

template <text_member text> void keep_first_lowered(const article_parser& parser, std::string_view piece)
{
    char*& kept = parser.current->*text;
    if (kept != nullptr)
        return;
    kept = copy_text(piece);
    if (kept != nullptr)
        std::transform(kept, kept + piece.size(), kept, ascii_lower);
}

template <text_member text> void keep_first_count(const article_parser& parser, std::string_view piece)
{
    if (piece != "0")
        keep_first<text>(parser, piece);
}

void keep_first_brand(const article_parser& parser, std::string_view piece)
{
    item& article = *parser.current;
    if (article.brand != nullptr)
        return;
    article.brand = copy_text(piece);
    article.logo = brandToLogo(article.brand, parser.folder);
}

template <flag_member flag> void raise_if(item& article, std::string_view piece, std::string_view word)
{
    if (equal_ignoring_case(piece, word))
        article.*flag = 1;
}

void raise_tuner_hd(const article_parser& parser, std::string_view piece)
{
    raise_if<&item::tuner_hd>(*parser.current, piece, "HD");
}

void raise_threeD_ready(const article_parser& parser, std::string_view piece)
{
    raise_if<&item::threeD_ready>(*parser.current, piece, "READY");
}

void replace_ovu(const article_parser& parser, std::string_view piece)
{
    replace_text(parser.current->ovu, piece);
}

void replace_channel(const article_parser& parser, std::string_view piece)
{
    std::int32_t& channel = parser.current->channel;
    channel = parse_decimal(piece).value_or(channel);
}

struct field_element {
    std::string_view prefix; ///< of the element's name
    std::int32_t status = 0; ///< while the element lasts
    void (*take)(const article_parser& parser, std::string_view piece) = nullptr;
};

/// In the order in which a name is tried: `hdmi` begins with `hd` too.
constexpr field_element field_elements[] = {
    {"model", 2, keep_first<&item::model>},
    {"brand", 3, keep_first_brand},
    {"price", 4, keep_first<&item::price>},
    {"type", 5, keep_first_lowered<&item::type>},
    {"size", 6, keep_first<&item::size>},
    {"tuner", 7, raise_tuner_hd},
    {"hdmi", 8, keep_first_count<&item::hdmi>},
    {"usb", 9, keep_first_count<&item::usb>},
    {"hd", 10, keep_first_lowered<&item::hd>},
    {"threeD", 11, raise_threeD_ready},
    {"warranty", 12, keep_first<&item::warranty>},
    {"ovu", 13, replace_ovu},
    {"channel", 14, replace_channel},
};

constexpr std::string_view article_prefix = "article";
constexpr std::int32_t article_depth = 2;
constexpr std::int32_t field_depth = 3;

const field_element* field_of(std::int32_t status)
{
    const auto* found = std::ranges::find(field_elements, status, &field_element::status);
    return found == std::end(field_elements) ? nullptr : found;
}

struct attribute {
    std::string_view name; ///< empty when the element has no attribute
    std::string_view value;
};

attribute first_attribute(const char** attributes)
{
    if (attributes == nullptr || attributes[0] == nullptr || attributes[1] == nullptr)
        return {};
    return {.name = attributes[0], .value = attributes[1]};
}

void append_article(article_parser& parser, const attribute& first)
{
    auto* article = static_cast<item*>(std::calloc(1, sizeof(item)));
    if (article == nullptr) {
        std::fputs("calloc allocate memory\n", stderr);
        return;
    }
    append_record(parser.current == nullptr ? &parser.head : &parser.current, article);
    parser.current = article;
    parser.status = inside_article;
    if (first.name.starts_with("code"))
        article->code = copy_text(first.value);
}

std::string_view code_of(const item* article)
{
    return article->code;
}

article_index index_of(item* head)
{
    article_index index;
    std::size_t count = 0;
    for (const item* article = head; article != nullptr; article = article->next)
        ++count;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): it is an array of pointers.
    index.articles.reset(static_cast<item**>(std::calloc(count, sizeof(item*))));
    if (index.articles == nullptr)
        return index;
    for (item* article = head; article != nullptr; article = article->next) {
        if (article->code != nullptr)
            index.articles[index.count++] = article;
    }
    std::stable_sort(index.articles.get(), index.articles.get() + index.count,
        [](const item* one, const item* other) { return code_of(one) < code_of(other); });
    return index;
}

/// The first article of the list with that code; null when there is none.
item* article_of(const article_parser& parser, std::string_view code)
{
    if (parser.index.articles != nullptr) {
        const auto articles = std::span(parser.index.articles.get(), parser.index.count);
        const auto found = std::ranges::lower_bound(articles, code, {}, code_of);
        return found != articles.end() && code_of(*found) == code ? *found : nullptr;
    }
    item* article = parser.head;
    while (article != nullptr && (article->code == nullptr || article->code != code))
        article = article->next;
    return article;
}

void find_article(article_parser& parser, const attribute& first)
{
    item* const found = first.name == "code" ? article_of(parser, first.value) : nullptr;
    if (found == nullptr)
        return;
    parser.current = found;
    parser.status = inside_article;
}

void begin_article(article_parser& parser, std::string_view name, const attribute& first)
{
    if (parser.depth != article_depth || !name.starts_with(article_prefix))
        return;
    if (parser.mode == merge_reference)
        find_article(parser, first);
    else
        append_article(parser, first);
}

void begin_field(article_parser& parser, std::string_view name)
{
    for (const auto& field : field_elements) {
        if (parser.depth == field_depth && name.starts_with(field.prefix)) {
            parser.status = field.status;
            return;
        }
    }
    std::fputs("Invalid tag inside item\n", stderr);
}

// Expat's handlers

void elemStart(void* user_data, const char* name, const char** attributes)
{
    auto& parser = *static_cast<article_parser*>(user_data);
    ++parser.depth;
    if (parser.status == outside_article)
        begin_article(parser, name, first_attribute(attributes));
    else if (parser.status == inside_article)
        begin_field(parser, name);
    else
        std::fprintf(stderr, "Invalid parse status %d in elemStart\n", parser.status);
}

void elemEnd(void* user_data, const char* name)
{
    auto& parser = *static_cast<article_parser*>(user_data);
    const std::string_view element = name;
    const auto* field = field_of(parser.status);
    if (field != nullptr && parser.depth == field_depth && element.starts_with(field->prefix))
        parser.status = inside_article;
    else if (parser.status == inside_article && parser.depth == article_depth
        && element.starts_with(article_prefix))
        parser.status = outside_article;
    --parser.depth;
}

void getCharData(void* user_data, const char* text, int length)
{
    const auto& parser = *static_cast<const article_parser*>(user_data);
    const auto* field = field_of(parser.status);
    if (parser.current != nullptr && field != nullptr)
        field->take(parser, {text, static_cast<std::size_t>(length)});
}

void parse_articles(const char* path, article_parser& parser)
{
    const std::string_view whole = path;
    parser.folder = whole.substr(0, whole.rfind('/') + 1);
    parse_xml_file(path,
        {.user_data = &parser,
            .start_element = elemStart,
            .end_element = elemEnd,
            .character_data = getCharData});
}

constexpr char* item::*owned_texts[] = {&item::code, &item::brand, &item::logo, &item::model, &item::price,
    &item::type, &item::size, &item::hdmi, &item::usb, &item::hd, &item::warranty, &item::ovu};

void remove_first(item** articles)
{
    item* removed = *articles;
    *articles = removed->next;
    item_Delete(removed);
    std::free(removed);
}

} // namespace

item* ParseXMLInfostv(const char* path)
{
    article_parser parser{.mode = build_list};
    parse_articles(path, parser);
    return parser.head;
}

std::int32_t PurgeDataBase(item** articles, const char* host_name, std::uint32_t limit)
{
    std::uint32_t kept = 0;
    while (*articles != nullptr && kept < limit) {
        const char* ovu = (*articles)->ovu;
        if (ovu != nullptr && host_name != nullptr && std::string_view(ovu) == host_name) {
            articles = &(*articles)->next;
            ++kept;
        } else
            remove_first(articles);
    }
    return static_cast<std::int32_t>(kept);
}

void ParseXMLReferencieltv(const char* path, item* head)
{
    if (head == nullptr)
        return;
    article_parser parser{.mode = merge_reference, .head = head, .index = index_of(head)};
    parse_articles(path, parser);
}

void free_articles(item* first)
{
    while (first != nullptr)
        remove_first(&first);
}

void item_Delete(item* article)
{
    if (article == nullptr)
        return;
    for (const auto text : owned_texts) {
        std::free(article->*text);
        article->*text = nullptr;
    }
}
