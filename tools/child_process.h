#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

/// What a process has left behind.
struct process_end {
    int status = -1;        ///< exit status; -1: it did not start, or did not end by itself
    std::string output{};   ///< on its standard output
    std::string messages{}; ///< on its standard error
    std::string failure{};  ///< why the status is -1
    bool is_called_off = false;
};

/// Runs this very program with these arguments and waits for its end: until the time is over, or something
/// can be read from the descriptor `call_off`, when it is killed.
process_end run_again(
    const std::vector<std::string>& arguments, std::chrono::seconds time_limit, int call_off);

/// All that a file holds, from its beginning on.
std::string content_of(std::FILE* file);
