#pragma once

#include "picture.h"

#include <string_view>

/// Brings a display set of one "YUVA" region to where a kernel begins. Returns false for an unknown kernel;
/// there are "convert", to a palette, and "code", of pixels converted before.
bool prepare_kernel(std::string_view kernel, subpicture& page);

/// Runs the kernel on it. Ends the process when it fails.
void run_kernel(std::string_view kernel, subpicture& page, bool plainly);
