#pragma once

// Singly linked lists of plain records, each with a `next`.

/// Puts a record at the end of the list; `link` is its head, or any of its links.
template <typename record> void append_record(record** link, record* added)
{
    while (*link != nullptr)
        link = &(*link)->next;
    *link = added;
}
