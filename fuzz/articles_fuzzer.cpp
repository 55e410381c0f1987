#include "articles.h"
#include "input.h"
#include "memory_failures.h"
#include "memory_file.h"

#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace {

/// The article file, the host, the reference file and, when anything follows, requests for memory that
/// fail. A missing host is a null one.
struct shop {
    std::string_view articles;
    std::optional<std::string> host;
    std::string_view reference;
    bool memory_fails = false;
};

shop read_shop(std::string_view input)
{
    shop read{.articles = take_until(input, form_feed)};
    if (!input.empty())
        read.host = std::string(take_until(input, form_feed));
    read.reference = take_until(input, form_feed);
    read.memory_fails = !input.empty();
    return read;
}

constexpr char* item::*texts[] = {&item::code, &item::brand, &item::logo, &item::model, &item::price,
    &item::type, &item::size, &item::hdmi, &item::usb, &item::hd, &item::warranty, &item::ovu};

std::vector<item*> records_of(item* head)
{
    std::vector<item*> records;
    for (; head != nullptr; head = head->next)
        records.push_back(head);
    return records;
}

/// Reads every text up to its terminator.
std::size_t text_bytes(const item& article)
{
    std::size_t bytes = 0;
    for (const auto text : texts)
        bytes += article.*text == nullptr ? 0 : std::strlen(article.*text);
    return bytes;
}

void check_purge(item*& head, const char* host, std::uint32_t limit)
{
    const std::int32_t kept = PurgeDataBase(&head, host, limit);
    const auto records = records_of(head);
    require(kept >= 0 && static_cast<std::uint32_t>(kept) <= limit);
    require(static_cast<std::uint32_t>(kept) == limit || records.size() == static_cast<std::size_t>(kept));
    for (std::size_t i = 0; i < static_cast<std::size_t>(kept); ++i)
        require(host != nullptr && records[i]->ovu != nullptr && std::strcmp(records[i]->ovu, host) == 0);
}

/// The article file has the first word: the reference file replaces only `ovu` and `channel`.
void check_completed(const item& before, const item& after)
{
    for (const auto text : texts)
        require(text == &item::ovu || before.*text == nullptr || before.*text == after.*text);
    require(before.tuner_hd <= after.tuner_hd && before.threeD_ready <= after.threeD_ready);
    require(before.next == after.next);
}

void check_merge(const memory_file& file, item* head)
{
    const auto records = records_of(head);
    std::vector<item> before;
    before.reserve(records.size());
    for (const auto* record : records)
        before.push_back(*record);
    ParseXMLReferencieltv(file.path.c_str(), head);
    for (std::size_t i = 0; i < records.size(); ++i)
        check_completed(before[i], *records[i]);
}

void run(const memory_file& file, const shop& input)
{
    const char* host = input.host ? input.host->c_str() : nullptr;
    fill(file, input.articles);
    item* head = ParseXMLInfostv(file.path.c_str());
    check_purge(head, host, 2); // leaves a tail for the second time
    check_purge(head, host, 40);
    fill(file, input.reference);
    check_merge(file, head);
    for (const item* article = head; article != nullptr; article = article->next)
        require(text_bytes(*article) < std::size_t{1} << 30);
    free_articles(head);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const memory_file file = new_memory_file();
    const shop input = read_shop(text_of({bytes, size}));
    const bool fail = input.memory_fails && size <= failing_input_max_bytes;
    with_each_request_failing(fail, [&] { run(file, input); });
    return 0;
}
