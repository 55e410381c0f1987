#pragma once

#include <string>

/// A text as `printf` writes it.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);
