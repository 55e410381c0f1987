#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

namespace {

/// Lets the leak checker see only leaks: cairo and fontconfig keep what they loaded until told.
struct font_caches : testing::Environment {
    void TearDown() override
    {
        cairo_debug_reset_static_data();
        FcFini();
    }
};

[[maybe_unused]] auto* const cleanup = testing::AddGlobalTestEnvironment(new font_caches);

} // namespace
