#pragma once

#include <string>
#include <string_view>

/// A file in memory, for code that opens files by their paths. It lives as long as the process.
struct memory_file {
    int descriptor = -1;
    std::string path;
};

memory_file new_memory_file();

/// Replaces the content of the file.
void fill(const memory_file& file, std::string_view content);
