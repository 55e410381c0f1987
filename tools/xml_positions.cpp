#include "xml_positions.h"

#include "formatted.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

finding_list unreadable(const std::string& path, const std::string& why)
{
    return {{.level = severity::error,
        .kind = "unreadable-file",
        .at = {.file = path},
        .what = "the file " + why + ": the daemon goes on without it",
        .advice = "put the file there, for the daemon to read and write"}};
}

/// What most likely led to an error that XML's own words leave open.
const char* advice_on(XML_Error error)
{
    switch (error) {
    case XML_ERROR_UNDEFINED_ENTITY:
        return "write the character itself, such as é or €, and & as &amp;";
    case XML_ERROR_INVALID_TOKEN:
        return "save the file in UTF-8, or say its encoding in the first line; write & as &amp; and < as "
               "&lt;";
    case XML_ERROR_TAG_MISMATCH:
        return "end each element by its own name: <model>…</model>";
    case XML_ERROR_NO_ELEMENTS:
        return "complete the file: it ends too early";
    default:
        return "mend the line";
    }
}

} // namespace

file_bytes read_bytes(const std::string& path)
{
    file_bytes file{.path = path};
    const owned_file opened(std::fopen(path.c_str(), "r+"));
    if (!opened) {
        file.findings = unreadable(
            path, formatted("cannot be opened for reading and writing (%s)", std::strerror(errno)));
        return file;
    }
    std::array<char, 65536> piece{};
    for (std::size_t count = 1; count != 0 && file.bytes.size() <= INT_MAX;) {
        count = std::fread(piece.data(), 1, piece.size(), opened.get());
        file.bytes.append(piece.data(), count);
    }
    file.is_read = file.bytes.size() <= INT_MAX && std::ferror(opened.get()) == 0;
    if (!file.is_read)
        file.findings = unreadable(path, "has more than 2 GB or cannot be read");
    return file;
}

source_position position_of(XML_Parser parser, const std::string& path)
{
    return {.file = path,
        .line = static_cast<std::uint32_t>(XML_GetCurrentLineNumber(parser)),
        .column = static_cast<std::uint32_t>(XML_GetCurrentColumnNumber(parser) + 1)};
}

finding_list parse_errors(XML_Parser parser, const std::string& path)
{
    const XML_Error error = XML_GetErrorCode(parser);
    return {{.level = severity::error,
        .kind = "malformed-file",
        .at = position_of(parser, path),
        .what = formatted(
            "the file is not well-formed XML here (%s): what follows is not used", XML_ErrorString(error)),
        .advice = advice_on(error)}};
}
