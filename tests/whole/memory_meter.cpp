// Preloaded beneath the daemon: counts what it allocates. At the daemon's end this, the heap in use and
// what the system says of the process go to the file named by MEMORY_METER.

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <string_view>

// The C library's functions and those behind them. Their names and types are its own.
// NOLINTBEGIN(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp,
// readability-inconsistent-declaration-parameter-name)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

unsigned long allocations = 0;

[[gnu::destructor]] void report()
{
    const unsigned long counted = allocations;
    const struct mallinfo2 heap = mallinfo2();
    const char* const path = std::getenv("MEMORY_METER");
    if (path == nullptr || !std::string_view(program_invocation_short_name).starts_with("tsinsertd"))
        return;
    std::FILE* const file = std::fopen(path, "w");
    std::FILE* const status = std::fopen("/proc/self/status", "r");
    if (file == nullptr || status == nullptr)
        return;
    std::array<char, 4096> text{};
    const std::size_t length = std::fread(text.data(), 1, text.size() - 1, status);
    std::fprintf(file, "Allocations: %lu\nHeap: %zu\n%.*s", counted, heap.uordblks + heap.hblkhd,
        static_cast<int>(length), text.data());
    std::fclose(file);
}

} // namespace

extern "C" {

void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++allocations;
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size)
{
    ++allocations;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    *memory = memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp,
// readability-inconsistent-declaration-parameter-name)
