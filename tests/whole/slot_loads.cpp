#include "slot_loads.h"

#include <array>

namespace {

constexpr unsigned insertion_bit = 0x10;
constexpr unsigned busy_bit = 0x01;
constexpr unsigned acknowledged_bit = 0x08;
constexpr unsigned empty_stream_slot = 0x82;

struct slot_layout {
    unsigned header_address = 0;
    unsigned data_address = 0;
};

/// Goes through the requests, and stays where one is not the expected one.
struct record_cursor {
    const std::vector<recorded_request>& requests;
    std::size_t next = 0;
    std::string complaint{};
};

bool ended(const record_cursor& in)
{
    return !in.complaint.empty() || in.next == in.requests.size() || in.requests[in.next].failed
        || in.requests[in.next].kind == "close";
}

bool is_next(const record_cursor& in, const std::string& kind, std::size_t size)
{
    return !ended(in) && in.requests[in.next].kind == kind && in.requests[in.next].bytes.size() == size;
}

/// The bytes of the next request; zeros when it is another one, or none.
byte_string take(record_cursor& in, const std::string& kind, std::size_t size)
{
    if (is_next(in, kind, size))
        return in.requests[in.next++].bytes;
    if (!ended(in))
        in.complaint =
            "request " + std::to_string(in.next) + " is no " + kind + " of " + std::to_string(size);
    return byte_string(size);
}

bool points_to(const byte_string& word, unsigned address)
{
    return (word[1] << 8 | word[0]) == static_cast<int>(address);
}

void take_pointer(record_cursor& in, unsigned address)
{
    const byte_string word = take(in, "write-word", 2);
    if (!ended(in) && !points_to(word, address))
        in.complaint =
            "request " + std::to_string(in.next - 1) + " is no pointer to " + std::to_string(address);
}

/// Returns the number of polls until one of the bits given is set, or the busy bit is not.
int take_polls(record_cursor& in, const slot_layout& slot, unsigned ending_bits)
{
    int polls = 0;
    for (bool over = false; !over && !ended(in); ++polls) {
        take_pointer(in, slot.header_address);
        const unsigned type = take(in, "read-byte", 1)[0];
        over = (type & busy_bit) == 0 || (type & ending_bits) != 0;
    }
    return polls;
}

byte_string take_packet(record_cursor& in)
{
    byte_string packet;
    for (const std::size_t size : {31, 31, 31, 31, 31, 31, 2}) {
        const byte_string block = take(in, "write-block", size);
        packet.insert(packet.end(), block.begin(), block.end());
    }
    return packet;
}

slot_load take_load(record_cursor& in, const std::array<slot_layout, 2>& slots, std::size_t number)
{
    slot_load load{.slot = number, .time_s = in.requests[in.next].time_s};
    const slot_layout& slot = slots[number];
    load.busy_polls = take_polls(in, slot, 0);
    take_pointer(in, slot.data_address);
    while (is_next(in, "write-block", 31))
        load.packets.push_back(take_packet(in));
    load.whole_header =
        is_next(in, "write-word", 2) && points_to(in.requests[in.next].bytes, slot.header_address);
    if (load.whole_header) {
        take_pointer(in, slot.header_address);
        const byte_string header = take(in, "write-block", 4);
        load.last_size = header[3];
        load.type = header[0];
        return load;
    }
    take_pointer(in, slot.header_address + 2);
    take(in, "write-block", 1); // upper packets and lower address bits
    load.last_size = take(in, "write-block", 1)[0];
    if (number == 0)
        load.acknowledgement_polls = take_polls(in, slots[1], acknowledged_bit);
    take_pointer(in, slot.header_address);
    load.type = take(in, "write-block", 1)[0];
    return load;
}

} // namespace

load_list read_loads(const std::vector<recorded_request>& requests)
{
    std::array<slot_layout, 2> slots;
    record_cursor in{.requests = requests};
    std::size_t laid_out = 0;
    for (bool inserting = false; !inserting && in.next < requests.size(); ++in.next) {
        const auto& [time_s, kind, register_number, pointer, bytes, refused] = requests[in.next];
        if (bytes.size() == 4 && bytes[0] == empty_stream_slot && laid_out < slots.size())
            slots[laid_out++] = {.header_address = pointer,
                .data_address = static_cast<unsigned>(bytes[1] << 5 | (bytes[2] & 0x1F))};
        inserting = is_next(in, "write-byte", 1) && (bytes[0] & insertion_bit) != 0;
    }
    load_list list;
    while (!ended(in))
        list.loads.push_back(take_load(in, slots, list.loads.size() % slots.size()));
    list.complaint = in.complaint;
    return list;
}
