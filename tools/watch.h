#pragma once

#include <string>

/// Stands for the XML files and pictures of a folder and for one more file: another one when one of them has
/// come, gone, been replaced, written, or made readable. Files are asked for it, since not every file system
/// of a network tells of changes.
std::string state_of_files(const std::string& folder, const std::string& file);
