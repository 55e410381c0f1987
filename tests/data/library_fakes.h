#pragma once

#include <cstdint>

// The linker calls these instead of `malloc`, `calloc` and `XML_ParserCreate` (see CMakeLists.txt); at
// rest they pass every call on.

/// The request for memory, counted from 0, that fails next; negative for none.
inline std::int32_t requests_until_failure = -1;
