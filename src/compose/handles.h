#pragma once

#include "releaser.h"

#include <cairo.h>
#include <memory>

using owned_surface = std::unique_ptr<cairo_surface_t, releaser<cairo_surface_destroy>>;
using owned_context = std::unique_ptr<cairo_t, releaser<cairo_destroy>>;
