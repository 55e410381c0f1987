#include "memory_failures.h"

#include "allocation_fakes.h"

#include <cstdint>

void with_each_request_failing(bool fail, const std::function<void()>& work)
{
    work();
    bool failed = fail;
    for (std::int32_t n = 0; failed; ++n) {
        const watched_allocation watched(n);
        work();
        failed = watched.requests_left < 0;
    }
}
