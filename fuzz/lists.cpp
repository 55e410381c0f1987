#include "lists.h"

#include <cstdlib>

void free_all(item* head)
{
    while (head != nullptr) {
        item* const next = head->next;
        item_Delete(head);
        std::free(head);
        head = next;
    }
}

void free_all(layout_region* head)
{
    while (head != nullptr) {
        layout_region* const next = head->next;
        std::free(head->name);
        std::free(head->font);
        std::free(head);
        head = next;
    }
}
