#pragma once

#include "reuse.h"
#include "state.h"

#include <string_view>

/// Loads the articles of this host and the screen layout from a folder, whose path ends with a slash, when
/// several services were asked for. With an article the mode is multi-service operation; the mode goes to
/// standard output. Troubles with the files are reported where they are found and leave
/// fewer articles, or none.
void load_services(driver_state& state, std::string_view folder);

/// Encodes a drawn display set and its refresh, in this order and with one encoder, so that the
/// refresh's version follows on, into the stream's blocks. Regions that are among `encoded` are used again,
/// others become part of it. The display set is converted to palettes on the way. Returns false, after a
/// message through `perror`, when it cannot be encoded.
[[nodiscard]] bool encode_service(subtitle_stream& stream, subpicture* display_set, coded_regions& encoded);

/// Draws and encodes the article of every service into its subtitle stream, with icons of the folder, whose
/// path ends with a slash. Returns false, after a message through `perror`, when one cannot be prepared.
[[nodiscard]] bool prepare_services(driver_state& state, std::string_view folder);

/// Frees the articles, the layout and the blocks: for programs that go on. The daemon keeps them.
void free_services(driver_state& state);
