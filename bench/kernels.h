#pragma once

#include "picture.h"

#include <functional>
#include <string_view>

/// Runs a piece of work in a function of its own name, so that callgrind can count just that.
extern "C" void counted_work(const std::function<void()>& work);

/// Counts one kernel on a display set of one "YUVA" region: "convert" to a palette, or "code" its pixels,
/// converted before. Ends the process when it fails. Returns false for an unknown kernel.
bool count_kernel(std::string_view kernel, subpicture& page, bool plainly);
