#include "slot_loads.h"

#include <array>

namespace {

constexpr unsigned control_register = 0;
constexpr unsigned pointer_register = 11;
constexpr unsigned data_register = 32;
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

bool is_next(const record_cursor& in, const char* kind, unsigned register_number, std::size_t size)
{
    return !ended(in) && in.requests[in.next].kind == kind
        && in.requests[in.next].register_number == register_number
        && in.requests[in.next].bytes.size() == size;
}

/// The bytes of the next request; zeros when it is another one, or none.
byte_string take(record_cursor& in, const char* kind, unsigned register_number, std::size_t size)
{
    if (is_next(in, kind, register_number, size))
        return in.requests[in.next++].bytes;
    if (!ended(in))
        in.complaint = "request " + std::to_string(in.next) + " is " + in.requests[in.next].kind + " of "
            + std::to_string(in.requests[in.next].bytes.size()) + " bytes, not " + kind + " of "
            + std::to_string(size);
    return byte_string(size);
}

byte_string take_block(record_cursor& in, std::size_t size)
{
    return take(in, "write-block", data_register, size);
}

void take_pointer(record_cursor& in, unsigned address)
{
    const byte_string bytes = take(in, "write-word", pointer_register, 2);
    if (!ended(in) && (bytes[1] << 8 | bytes[0]) != static_cast<int>(address))
        in.complaint =
            "request " + std::to_string(in.next - 1) + " does not point to " + std::to_string(address);
}

/// Returns the number of polls.
template <typename end_of_wait>
int take_polls(record_cursor& in, const slot_layout& slot, end_of_wait is_last)
{
    int polls = 0;
    for (bool over = false; !over && !ended(in); ++polls) {
        take_pointer(in, slot.header_address);
        over = is_last(take(in, "read-byte", data_register, 1)[0]);
    }
    return polls;
}

byte_string take_packet(record_cursor& in)
{
    byte_string packet;
    for (const std::size_t size : {31, 31, 31, 31, 31, 31, 2}) {
        const byte_string block = take_block(in, size);
        packet.insert(packet.end(), block.begin(), block.end());
    }
    return packet;
}

/// The header bytes behind the type, and behind the upper bits of the address.
void take_length(
    record_cursor& in, const slot_layout& slot, slot_load& load, unsigned count, unsigned last_size)
{
    load.last_size = last_size;
    const bool sound = !load.packets.empty() && last_size > 4 && last_size <= 188
        && count == ((load.packets.size() - 1) << 5 | (slot.data_address & 0x1F));
    if (!sound && !ended(in))
        in.complaint = "wrong length before request " + std::to_string(in.next);
}

void take_whole_header(record_cursor& in, const slot_layout& slot, slot_load& load)
{
    load.whole_header = true;
    take_pointer(in, slot.header_address);
    const byte_string header = take_block(in, 4);
    take_length(in, slot, load, header[2], header[3]);
    if (!ended(in) && header[1] != slot.data_address >> 5)
        in.complaint = "wrong address before request " + std::to_string(in.next);
    load.type = header[0];
}

void take_split_header(
    record_cursor& in, const slot_layout& slot, const slot_layout* awaited, slot_load& load)
{
    take_pointer(in, slot.header_address + 2);
    const unsigned count = take_block(in, 1)[0];
    take_length(in, slot, load, count, take_block(in, 1)[0]);
    if (awaited != nullptr)
        load.acknowledgement_polls = take_polls(in, *awaited,
            [](unsigned type) { return (type & busy_bit) == 0 || (type & acknowledged_bit) != 0; });
    take_pointer(in, slot.header_address);
    load.type = take_block(in, 1)[0];
}

slot_load take_load(record_cursor& in, const std::array<slot_layout, 2>& slots, std::size_t number)
{
    slot_load load{.slot = number, .time_s = in.requests[in.next].time_s};
    const slot_layout& slot = slots[number];
    load.busy_polls = take_polls(in, slot, [](unsigned type) { return (type & busy_bit) == 0; });
    take_pointer(in, slot.data_address);
    while (is_next(in, "write-block", data_register, 31))
        load.packets.push_back(take_packet(in));
    const bool split = is_next(in, "write-word", pointer_register, 2)
        && in.requests[in.next].bytes[0] == static_cast<std::uint8_t>(slot.header_address + 2);
    if (split)
        take_split_header(in, slot, number == 0 ? &slots[1] : nullptr, load);
    else
        take_whole_header(in, slot, load);
    return load;
}

} // namespace

load_list read_loads(const std::vector<recorded_request>& requests)
{
    std::array<slot_layout, 2> slots;
    record_cursor in{.requests = requests};
    std::size_t laid_out = 0;
    for (bool inserting = false; !inserting && in.next < requests.size(); ++in.next) {
        const recorded_request& request = requests[in.next];
        if (request.bytes.size() == 4 && request.bytes[0] == empty_stream_slot && laid_out < slots.size())
            slots[laid_out++] = {.header_address = request.pointer,
                .data_address = static_cast<unsigned>(request.bytes[1] << 5 | (request.bytes[2] & 0x1F))};
        inserting = is_next(in, "write-byte", control_register, 1) && (request.bytes[0] & insertion_bit) != 0;
    }
    load_list list;
    while (!ended(in))
        list.loads.push_back(take_load(in, slots, list.loads.size() % slots.size()));
    list.complaint = in.complaint;
    return list;
}
