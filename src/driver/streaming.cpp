#include "streaming.h"

#include <span>

namespace {

/// Slot 0 must not be armed before the device has taken slot 1 up, or it could send slot 0 first.
const stream_slot* slot_to_await(const insertion_state& insertion)
{
    return insertion.current_slot == 0 ? &insertion.slots[1] : nullptr;
}

/// Sends a whole PES packet, in as many loads as it needs.
bool send_pes_packet(int fd, insertion_state& insertion, subtitle_stream& stream, const block& payload)
{
    start_pes_packet(stream, payload);
    while (stream.remaining != 0) {
        const stream_slot& slot = insertion.slots[insertion.current_slot];
        if (copyStreamToEpld(fd, slot, stream, slot_to_await(insertion)) < 0)
            return false;
        insertion.current_slot = 1 - insertion.current_slot;
    }
    return true;
}

} // namespace

bool run_streaming_cycle(int fd, driver_state& state, insertion_state& insertion)
{
    const auto services = std::span(state.streams).first(state.service_count);
    for (subtitle_stream& shown : services) {
        if (!send_pes_packet(fd, insertion, shown, *shown.display_set))
            return false;
        for (subtitle_stream& other : services)
            if (&other != &shown && !send_pes_packet(fd, insertion, other, *other.refresh))
                return false;
    }
    return true;
}
