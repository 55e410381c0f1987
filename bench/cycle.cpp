#include "insertion.h"
#include "programming.h"
#include "ready_device.h"
#include "registers.h"
#include "shop_services.h"
#include "shops.h"
#include "ts_packet.h"

#include <cstdio>
#include <string>

// One streaming cycle of a shop, for callgrind: cycle FOLDER, where `make_shop` has been. Only what happens
// in `counted_work` is meant to be counted, without `ioctl`, which stands for the kernel. Prints the
// packets and the requests of the cycle.

namespace {

std::uint32_t packets_of(const block& payload)
{
    constexpr std::uint32_t payload_size = packet_size - dvb_header_size;
    return (payload.length + pes_header_size + payload_size - 1) / payload_size;
}

std::uint32_t packets_of_cycle(const driver_state& shop)
{
    std::uint32_t packets = 0;
    for (std::uint32_t i = 0; i < shop.service_count; ++i)
        packets += packets_of(*shop.streams[i].display_set)
            + (shop.service_count - 1) * packets_of(*shop.streams[i].refresh);
    return packets;
}

} // namespace

extern "C" [[gnu::noinline]] bool counted_work(driver_state& shop, insertion_state& insertion)
{
    return run_streaming_cycle(0, shop, insertion);
}

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: cycle FOLDER\n", stderr);
        return 2;
    }
    const prepared_shop shop = prepare_shop(std::string(arguments[1]) + "/");
    auto insertion = program_device(0, *shop);
    const unsigned long before = device_requests();
    if (!insertion || !counted_work(*shop, *insertion))
        return 1;
    std::printf("%u packets, %lu requests\n", packets_of_cycle(*shop), device_requests() - before);
    return 0;
}
