#include "sanitizer_options.h"

#include <cairo.h>

void forget_fonts()
{
    cairo_debug_reset_static_data();
}

// The sanitizers ask for their options under these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

/// What is larger counts as no memory, for cairo and libpng too. libFuzzer itself takes 20 MB at once.
const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=32";
}

const char* __lsan_default_options()
{
    return "print_suppressions=0";
}

/// fontconfig keeps a pattern of its configuration, whose elements it refers to by an offset: the leak
/// checker takes that for no reference. A drawing context or surface that we lost would still show, for
/// those are cairo's own.
const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig.so";
}
}
// NOLINTEND(bugprone-reserved-identifier)
