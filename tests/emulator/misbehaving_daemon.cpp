// A daemon that does one thing wrong towards the device, chosen by its argument.

#include "bus.h"

#include <array>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

int main(int /*count*/, char** arguments)
{
    const std::string_view fault = arguments[1];
    if (fault == "closed input")
        close(STDIN_FILENO);
    const int bus = bus_open();
    if (fault != "not bound" && bus_bind(bus) != 0)
        return 1;
    if (fault == "ioctl")
        ioctl(bus, I2C_FUNCS, &bus);
    bool done = fault == "no delete" || bus_write_byte(bus, 2, 7) == 0;
    constexpr std::array<std::uint8_t, 3> no_slot{0, 2, 3};
    done &= bus_write_word(bus, 11, 0) == 0 && bus_write_block(bus, 32, no_slot) == 0;
    std::array<std::uint8_t, 3> held{};
    done &= bus_write_word(bus, 11, 0) == 0 && bus_read_block(bus, 32, held) == 3 && held == no_slot;
    done &= bus_write_byte(bus, 0, 0x15) == 0; // insertion on, the other bits as they were
    if (fault == "open bus")
        return done ? 0 : 1;
    sleep(3600);
}
