#include "stream_slot.h"

#include "protocol.h"

#include <cstdio>

namespace {

constexpr int polls_max = 5000;
constexpr std::uint32_t poll_pause_us = 1000;

} // namespace

bool wait_until_ready(int fd, const stream_slot& slot)
{
    for (int poll = 0; poll < polls_max; ++poll) {
        const std::int32_t busy = is_slot_busy(fd, slot.header_address);
        if (busy == 0)
            return true;
        if (busy < 0)
            break;
        bus_pause(poll_pause_us);
    }
    std::puts("Waiting for slot ready failed !!!");
    return false;
}
