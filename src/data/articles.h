#pragma once

#include "item.h"

#include <cstdint>

// The articles of an article file, completed by a reference file. Both files have one grammar: a root
// element of any name; in it `article` elements with a `code` attribute; in these the field elements,
// `model` to `channel`. Names count by their beginning. Besides the messages of `parse_xml_file`,
// standard error may get "Invalid tag inside item\n" for any other element inside an article, and
// "Invalid parse status %d in elemStart\n" for an element inside a field element.

/// Reads an article file. Returns its articles in file order, each record made with `calloc` and all
/// owned by the caller; null when the file cannot be read or holds none. After a parse error these
/// are the articles up to the error. An article for which there is no memory is left out with
/// "calloc allocate memory\n", a text likewise with "Cannot allocate memory\n". Logos are looked for in the
/// folder of the file.
[[nodiscard]] item* ParseXMLInfostv(const char* path);

/// Removes and frees the articles whose `ovu` is not exactly `host_name`, until `limit` articles are
/// kept or the list ends; articles behind the last kept one then stay unexamined. An article without
/// `ovu` is no host's, and a null `host_name` keeps none. Returns the number kept, at the front of the list.
[[nodiscard]] std::int32_t PurgeDataBase(item** articles, const char* host_name, std::uint32_t limit);

/// Completes the articles of the list from `head` on with those of the same code in a reference
/// file: it fills unset texts, raises the two flags and replaces `ovu` and `channel`. Does nothing for
/// an empty list. The first article of a code is the one completed.
void ParseXMLReferencieltv(const char* path, item* head);

/// Frees a whole list with all that it owns: for programs that go on. The daemon keeps its articles.
void free_articles(item* first);

/// Releases every text that the article owns and leaves the members null; the record itself and
/// the articles behind it stay the caller's. A null article does nothing.
void item_Delete(item* article);
