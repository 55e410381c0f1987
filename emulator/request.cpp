#include "request.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace {

constexpr std::array<std::string_view, request_kinds> kind_names{
    "open", "bind", "close", "read-byte", "write-byte", "write-word", "read-block", "write-block", "unknown"};

bool matches(const refused_request& refusal, std::uint64_t number)
{
    return refusal.onwards ? number >= refusal.number : number == refusal.number;
}

} // namespace

std::string_view name_of(request_kind kind)
{
    return kind_names[static_cast<std::size_t>(kind)];
}

std::int64_t bus_periods(request_kind kind, std::size_t bytes)
{
    constexpr std::int64_t start_or_stop = 1;
    constexpr std::int64_t byte = 9; // eight bits and the acknowledgement
    const std::int64_t addressing = start_or_stop + 2 * byte;
    const std::int64_t data = static_cast<std::int64_t>(bytes) * byte + start_or_stop;
    switch (kind) {
    case request_kind::read_byte:
    case request_kind::read_block:
        return addressing + start_or_stop + byte + data; // a repeated start turns the direction
    case request_kind::write_byte:
    case request_kind::write_word:
    case request_kind::write_block:
        return addressing + data;
    default:
        return 0;
    }
}

std::optional<refused_request> parse_refusal(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return {};
    refused_request refusal;
    const auto* const name = std::find(kind_names.begin(), kind_names.end(), text.substr(0, colon));
    if (name != kind_names.end())
        refusal.kind = static_cast<request_kind>(name - kind_names.begin());
    else if (text.substr(0, colon) != "any")
        return {};

    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + colon + 1, last, refusal.number);
    refusal.onwards = end != last && *end == '+';
    const bool whole = end + (refusal.onwards ? 1 : 0) == last;
    return error == std::errc() && whole && refusal.number > 0 ? std::optional(refusal) : std::nullopt;
}

bool count_request(fault_plan& plan, request_kind kind)
{
    const std::uint64_t of_kind = ++plan.requests[static_cast<std::size_t>(kind)];
    if (kind == request_kind::close)
        return false;
    ++plan.all_requests;
    const auto refusals = std::span(plan.refusals).first(plan.refusal_count);
    return std::any_of(refusals.begin(), refusals.end(), [&](const refused_request& refusal) {
        if (refusal.kind.has_value())
            return *refusal.kind == kind && matches(refusal, of_kind);
        return matches(refusal, plan.all_requests);
    });
}
