#pragma once

#include "item.h"

#include <cstdint>

// The articles of an article file, completed by a reference file. Both files have one grammar: a root
// element of any name; in it `article` elements with a `code` attribute; in these the field elements,
// `model` to `channel`. Names count by their beginning. Besides the messages of `parse_xml_file`,
// standard error may get "Invalid tag inside item\n" for any other element inside an article, and
// "Invalid parse status %d in elemStart\n" for an element inside a field element.

/// Values of `article_parser::mode`.
inline constexpr std::int32_t build_list = 0;
inline constexpr std::int32_t merge_reference = 1;

/// Values of `article_parser::status`. Above them, each field element has its own.
inline constexpr std::int32_t outside_article = 0;
inline constexpr std::int32_t inside_article = 1;

/// What the handlers share during one parse.
struct article_parser {
    std::int32_t mode = build_list;
    std::int32_t status = outside_article; ///< also while an unknown article of the reference file lasts
    std::int32_t depth = 0;                ///< of the element being handled; the root element has depth 1
    item* head = nullptr;                  ///< first article: the list that grows, or the list to complete
    item* current = nullptr;               ///< the article being filled; the last one of a list that grows
};

/// Reads an article file. Returns its articles in file order, each record made with `calloc` and all
/// owned by the caller; null when the file cannot be read or holds none. After a parse error these
/// are the articles up to the error. An article for which there is no memory is left out with
/// "calloc allocate memory\n", a text likewise with "Cannot allocate memory\n".
[[nodiscard]] item* ParseXMLInfostv(const char* path);

/// Removes and frees the articles whose `ovu` is not exactly `host_name`, until `limit` articles are
/// kept or the list ends; articles behind the last kept one then stay unexamined. An article without
/// `ovu` is no host's, and a null `host_name` keeps none. Returns the number kept, at the front of the list.
[[nodiscard]] std::int32_t PurgeDataBase(item** articles, const char* host_name, std::uint32_t limit);

/// Completes the articles of the list from `head` on with those of the same code in a reference
/// file: it fills unset texts, raises the two flags and replaces `ovu` and `channel`. Does nothing for
/// an empty list. The first article of a code is the one completed.
void ParseXMLReferencieltv(const char* path, item* head);

/// Expat's handlers. The user data is the `article_parser`, the attributes are names and values in
/// turn up to a null name, the text is `length` bytes without a terminator.
void elemStart(void* user_data, const char* name, const char** attributes);
void elemEnd(void* user_data, const char* name);
void getCharData(void* user_data, const char* text, int length);
