#pragma once

#include <cstddef>
#include <cstdint>

// The linker puts these in place of `malloc`, `calloc`, `realloc` and `memalign` (see CMakeLists.txt).
// At rest they do what the library does.

/// While one lives, its n-th request for memory (from 0) fails; it also tells what was asked for last.
struct watched_allocation {
    explicit watched_allocation(std::int32_t n)
        : requests_left(n)
    {
        living = this;
    }
    ~watched_allocation()
    {
        living = nullptr;
    }
    watched_allocation(const watched_allocation&) = delete;
    watched_allocation& operator=(const watched_allocation&) = delete;

    std::int32_t requests_left = 0; ///< until the one that fails; negative once it has
    std::size_t last_size_bytes = 0;
    static inline watched_allocation* living = nullptr;
};

/// Counts a request for memory. Returns whether it is the one that fails.
bool this_one_fails(std::size_t size_bytes);
