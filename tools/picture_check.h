#pragma once

#include "finding.h"

#include <string>
#include <vector>

/// The names of the files in a folder.
std::vector<std::string> files_in(const std::string& folder);

/// What a file is that is no usable PNG file, by its first bytes: "a JPEG picture", "an empty file", …
std::string kind_of_file(const std::string& path);

/// A file that was probably meant where `name` is not there: the same name in other letter case, or as
/// another kind of picture. Empty when there is none.
std::string neighbour_of(const std::vector<std::string>& files, const std::string& name);
