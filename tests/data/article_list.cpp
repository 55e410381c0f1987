#include "article_list.h"

#include <cstdlib>
#include <utility>

namespace {

constexpr std::pair<const char*, char * item::*> texts[] = {{"code=", &item::code}, {"brand=", &item::brand},
    {"logo=", &item::logo}, {"model=", &item::model}, {"price=", &item::price}, {"type=", &item::type},
    {"size=", &item::size}, {"hdmi=", &item::hdmi}, {"usb=", &item::usb}, {"hd=", &item::hd},
    {"warranty=", &item::warranty}, {"ovu=", &item::ovu}};

std::string line_of(const item& article)
{
    std::string line;
    for (const auto& [name, text] : texts)
        if (article.*text != nullptr)
            line += name + std::string(article.*text) + ";";
    if (article.tuner_hd != 0)
        line += "tuner_hd=" + std::to_string(article.tuner_hd) + ";";
    if (article.threeD_ready != 0)
        line += "threeD_ready=" + std::to_string(article.threeD_ready) + ";";
    if (article.channel != 0)
        line += "channel=" + std::to_string(article.channel) + ";";
    return line + "\n";
}

} // namespace

void free_articles(item* head)
{
    while (head != nullptr) {
        item* next = head->next;
        item_Delete(head);
        std::free(head);
        head = next;
    }
}

std::string text_of(const item* head)
{
    std::string text;
    for (const item* article = head; article != nullptr; article = article->next)
        text += line_of(*article);
    return text;
}
