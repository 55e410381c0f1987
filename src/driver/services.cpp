#include "services.h"

#include <cstdio>

void settle_services(driver_state& state)
{
    std::puts("No subtitle to play");
    state.multi_service = false;
    state.service_count = 0;
    state.articles = nullptr;
}
