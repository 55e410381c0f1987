#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A new empty folder that goes away, with all in it, at the end of its scope.
struct temporary_folder {
    temporary_folder();
    ~temporary_folder();
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    std::filesystem::path path;
};

/// Writes a file of that name and content into the folder. Returns its path.
std::string write_file(const temporary_folder& folder, const std::string& name, std::string_view content);

/// The whole content of a file; empty when it cannot be read.
std::string read_file(const std::filesystem::path& path);

/// Sets environment variables; at the end of its scope they are unset again.
struct environment {
    environment(std::initializer_list<std::pair<std::string, std::string>> wanted);
    ~environment();
    environment(const environment&) = delete;
    environment& operator=(const environment&) = delete;

    std::vector<std::pair<std::string, std::string>> settings;
};
