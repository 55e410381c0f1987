#include "allocation_fakes.h"

bool this_one_fails(std::size_t size_bytes)
{
    watched_allocation* const watch = watched_allocation::living;
    if (watch == nullptr)
        return false;
    watch->last_size_bytes = size_bytes;
    return watch->requests_left-- == 0;
}

// The linker demands these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(std::size_t size_bytes);
void* __real_calloc(std::size_t count, std::size_t size_bytes);
void* __real_realloc(void* memory, std::size_t size_bytes);
void* __real_memalign(std::size_t alignment, std::size_t size_bytes);

void* __wrap_malloc(std::size_t size_bytes)
{
    return this_one_fails(size_bytes) ? nullptr : __real_malloc(size_bytes);
}

void* __wrap_calloc(std::size_t count, std::size_t size_bytes)
{
    return this_one_fails(count * size_bytes) ? nullptr : __real_calloc(count, size_bytes);
}

void* __wrap_realloc(void* memory, std::size_t size_bytes)
{
    return this_one_fails(size_bytes) ? nullptr : __real_realloc(memory, size_bytes);
}

void* __wrap_memalign(std::size_t alignment, std::size_t size_bytes)
{
    return this_one_fails(size_bytes) ? nullptr : __real_memalign(alignment, size_bytes);
}
}
// NOLINTEND(bugprone-reserved-identifier)
