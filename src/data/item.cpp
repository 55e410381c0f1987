#include "item.h"

#include <cstdlib>

namespace {

constexpr char* item::*owned_texts[] = {&item::code, &item::brand, &item::logo, &item::model, &item::price,
    &item::type, &item::size, &item::hdmi, &item::usb, &item::hd, &item::warranty, &item::ovu};

} // namespace

void item_Delete(item* article)
{
    if (article == nullptr)
        return;
    for (const auto text : owned_texts) {
        std::free(article->*text);
        article->*text = nullptr;
    }
}
