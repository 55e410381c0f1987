#pragma once

#include "finding.h"
#include "xml_file.h"

#include <cstddef>
#include <string>

// XML files read once more beside the daemon's reading, for the places of what they hold.

/// The whole content of a file, which the daemon opens for writing too.
struct file_bytes {
    std::string path{};
    std::string bytes{};
    bool is_read = false;
    finding_list findings{}; ///< why it cannot be read
};

file_bytes read_bytes(const std::string& path);

/// The place of what expat is telling of.
source_position position_of(XML_Parser parser, const std::string& path);

/// Parses all in one call, as the daemon does, so that texts come in the same pieces, with handlers that
/// `install` sets. Returns what is wrong with the XML: one finding at most.
template <typename installer> finding_list parse_bytes(const file_bytes& file, installer install);

/// The finding that the parser's error is.
finding_list parse_errors(XML_Parser parser, const std::string& path);

template <typename installer> finding_list parse_bytes(const file_bytes& file, installer install)
{
    if (!file.is_read)
        return file.findings;
    const owned_xml_parser parser(XML_ParserCreate(nullptr));
    install(parser.get());
    const auto size_bytes = static_cast<int>(file.bytes.size());
    return XML_Parse(parser.get(), file.bytes.data(), size_bytes, XML_TRUE) == XML_STATUS_OK
        ? finding_list{}
        : parse_errors(parser.get(), file.path);
}
