#pragma once

#include <cstdio>

/// Lets what is written to a standard stream go nowhere, until its end: what the daemon's code says there
/// would stand amidst the report.
struct silence {
    explicit silence(std::FILE* silenced);
    ~silence();
    silence(const silence&) = delete;
    silence& operator=(const silence&) = delete;

    std::FILE* stream = nullptr;
    int kept = -1;
};
