#pragma once

#include "handles.h"

#include <cstdio>
#include <string>

/// Keeps what is written to a standard stream from it, until its end: what the daemon's code says there would
/// stand amidst the report.
struct silence {
    explicit silence(std::FILE* silenced);
    ~silence();
    silence(const silence&) = delete;
    silence& operator=(const silence&) = delete;

    /// The last lines of what was written so far, with "; " between them.
    [[nodiscard]] std::string said() const;

    std::FILE* stream = nullptr;
    int kept = -1;
    owned_file messages{};
};
