#include "stream_slot.h"

#include "protocol.h"

#include <cstdio>

namespace {

constexpr int polls_max = 5000;
constexpr std::uint32_t poll_pause_us = 1000;

/// Asks the device every 1 ms until its answer ends the wait. Returns false, after a message, when a
/// request fails or no such answer comes.
template <typename question, typename end_of_wait>
bool wait_for_slot(question ask, end_of_wait ends, const char* message)
{
    for (int poll = 0; poll < polls_max; ++poll) {
        const std::int32_t answer = ask();
        if (answer < 0)
            break;
        if (ends(answer))
            return true;
        bus_pause(poll_pause_us);
    }
    std::puts(message);
    return false;
}

} // namespace

bool wait_until_ready(int fd, const stream_slot& slot)
{
    return wait_for_slot([&] { return is_slot_busy(fd, slot.header_address); },
        [](std::int32_t busy) { return busy == 0; }, "Waiting for slot ready failed !!!");
}

bool wait_until_acknowledged(int fd, const stream_slot& slot)
{
    return wait_for_slot([&] { return is_slot_acknowledged(fd, slot.header_address); },
        [](std::int32_t acknowledged) { return acknowledged != 0; },
        "Waiting for previous slot acknowledged failed !!!");
}
