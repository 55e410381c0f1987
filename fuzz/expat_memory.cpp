#include <cstdlib>
#include <cstring>
#include <expat.h>

// The linker puts these in place of the libraries' functions (see CMakeLists.txt).
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

/// Lets expat ask for memory where `watched_allocation` sees it.
XML_Parser __wrap_XML_ParserCreate(const XML_Char* encoding)
{
    static const XML_Memory_Handling_Suite watched{
        .malloc_fcn = std::malloc, .realloc_fcn = std::realloc, .free_fcn = std::free};
    return XML_ParserCreate_MM(encoding, &watched, nullptr);
}

/// Every second brand has a logo, by the length of its name.
int __wrap_access(const char* path, int /*mode*/)
{
    return std::strlen(path) % 2 == 0 ? 0 : -1;
}
}
// NOLINTEND(bugprone-reserved-identifier)
