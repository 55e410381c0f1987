#pragma once

#include <functional>
#include <string>

/// What `action` writes to the standard output (error) of the process, the C library's buffers included.
std::string stdout_of(const std::function<void()>& action);
std::string stderr_of(const std::function<void()>& action);
