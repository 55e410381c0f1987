#include "emulation.h"

#include "judge.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::int64_t second_ns = 1'000'000'000;
constexpr std::int64_t microsecond_ns = 1'000;
constexpr std::uint8_t data_register = 32;

struct text_line {
    std::array<char, 256> characters{};
    std::size_t length = 0;
};

[[gnu::format(printf, 2, 3)]] void add(text_line& line, const char* format, ...)
{
    std::va_list arguments; // NOLINT(cppcoreguidelines-pro-type-vararg): printf's own kind
    va_start(arguments, format);
    const auto room = line.characters.size() - line.length;
    const int length = std::vsnprintf(line.characters.data() + line.length, room, format, arguments);
    va_end(arguments);
    if (length > 0)
        line.length = std::min(line.length + static_cast<std::size_t>(length), line.characters.size() - 1);
}

text_line begin_line(request_kind kind, std::int64_t time_ns)
{
    text_line line;
    add(line, "%lld.%06lld %s", static_cast<long long>(time_ns / second_ns),
        static_cast<long long>(time_ns % second_ns / microsecond_ns), name_of(kind).data());
    return line;
}

void end_line(emulation& run, text_line& line, bool answered)
{
    add(line, "%s\n", answered ? "" : " failed");
    append(run.record, {reinterpret_cast<const std::uint8_t*>(line.characters.data()), line.length});
}

bool put_to_device(epld_model& device, const bus_transfer& transfer)
{
    const auto bytes = transfer.bytes;
    switch (transfer.kind) {
    case request_kind::read_byte:
        return device_read_byte(device, transfer.register_number, bytes[0]);
    case request_kind::write_byte:
        return device_write_byte(device, transfer.register_number, bytes[0]);
    case request_kind::write_word:
        return device_write_word(
            device, transfer.register_number, static_cast<std::uint16_t>(bytes[1] << 8 | bytes[0]));
    case request_kind::read_block:
        return device_read_block(device, transfer.register_number, bytes);
    case request_kind::write_block:
        return device_write_block(device, transfer.register_number, bytes);
    default:
        return false;
    }
}

} // namespace

void advance(emulation& run, std::span<const std::uint8_t> encoder, std::int64_t now_ns)
{
    run_multiplex(run.stream, encoder, run.device, run.statistics, now_ns / microsecond_ns);
    run.now_ns = now_ns;
}

std::int64_t bus_time_ns(const emulation& run, request_kind kind, std::size_t bytes)
{
    return run.bus_clock_hz == 0 ? 0 : bus_periods(kind, bytes) * second_ns / run.bus_clock_hz;
}

bool request_access(emulation& run, request_kind kind)
{
    const bool granted = !count_request(run.faults, kind);
    run.refused_requests += granted ? 0 : 1;
    text_line line = begin_line(kind, run.now_ns);
    end_line(run, line, granted);
    return granted;
}

bool request_transfer(emulation& run, const bus_transfer& transfer, std::int64_t began_ns)
{
    const std::uint32_t pointer = run.device.pointer;
    if (count_request(run.faults, transfer.kind)) {
        run.device.requests_until_fault = 0;
        ++run.refused_requests;
    }
    const bool answered = put_to_device(run.device, transfer);

    text_line line = begin_line(transfer.kind, began_ns);
    add(line, " %u", transfer.register_number);
    if (transfer.register_number == data_register)
        add(line, " at %u", pointer);
    add(line, ":");
    const bool read = transfer.kind == request_kind::read_byte || transfer.kind == request_kind::read_block;
    if (answered || !read)
        for (const std::uint8_t byte : transfer.bytes)
            add(line, " %02X", byte);
    end_line(run, line, answered);
    return answered;
}

void refuse_request(emulation& run, violation_kind kind, std::uint32_t where)
{
    (void)count_request(run.faults, request_kind::unknown);
    report_violation(run.device, kind, where);
    text_line line = begin_line(request_kind::unknown, run.now_ns);
    add(line, " %u", where);
    end_line(run, line, false);
}
