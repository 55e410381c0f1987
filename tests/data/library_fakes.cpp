#include "library_fakes.h"

#include <cstddef>
#include <expat.h>

namespace {

bool request_fails()
{
    return requests_until_failure >= 0 && requests_until_failure-- == 0;
}

} // namespace

// The linker demands these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(std::size_t size_bytes);
void* __real_calloc(std::size_t count, std::size_t size_bytes);
XML_Parser __real_XML_ParserCreate(const XML_Char* encoding);

void* __wrap_malloc(std::size_t size_bytes)
{
    return request_fails() ? nullptr : __real_malloc(size_bytes);
}

void* __wrap_calloc(std::size_t count, std::size_t size_bytes)
{
    return request_fails() ? nullptr : __real_calloc(count, size_bytes);
}

XML_Parser __wrap_XML_ParserCreate(const XML_Char* encoding)
{
    return request_fails() ? nullptr : __real_XML_ParserCreate(encoding);
}
}
// NOLINTEND(bugprone-reserved-identifier)
