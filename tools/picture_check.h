#pragma once

#include "finding.h"

#include <string>
#include <vector>

/// The names of the files in a folder.
std::vector<std::string> files_in(const std::string& folder);

/// What a file is that is no usable PNG file, by its first bytes: "a JPEG picture", "an empty file", …
std::string kind_of_file(const std::string& path);

/// Whether it ends as names of pictures do, in any letter case.
bool is_picture_name(const std::string& name);

/// The name without the blanks at its ends and before its suffix.
std::string without_blanks(const std::string& name);

/// A file that was probably meant where `name` is not there: the same name in other letter case, without
/// accents or blanks, as another kind of picture, or with two suffixes. Empty when there is none.
std::string neighbour_of(const std::vector<std::string>& files, const std::string& name);
