#include "xml_file.h"

#include "handles.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>

namespace {

struct file_content {
    owned_bytes bytes;
    int size_bytes = 0; ///< as expat counts
};

/// The size of the file, whose position ends at its beginning. Nothing for a stream that has none
/// or for a file longer than one call of expat can take.
std::optional<int> size_of(std::FILE* file)
{
    if (std::fseek(file, 0, SEEK_END) != 0)
        return std::nullopt;
    const long size_bytes = std::ftell(file);
    std::rewind(file);
    if (size_bytes < 0 || size_bytes > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(size_bytes);
}

/// A buffer of that many bytes; of one byte for an empty file, since a request for none may give null.
owned_bytes allocate(int size_bytes)
{
    return owned_bytes(static_cast<char*>(std::malloc(static_cast<std::size_t>(std::max(size_bytes, 1)))));
}

/// The whole file; without bytes when it could not be read, which has been reported.
file_content read_whole(const char* path)
{
    const owned_file file(std::fopen(path, "r+t"));
    if (!file) {
        std::fprintf(stderr, "Cannot open %s\n", path);
        return {};
    }
    file_content content;
    if (const auto size_bytes = size_of(file.get())) {
        content.bytes = allocate(*size_bytes);
        content.size_bytes = *size_bytes;
    }
    if (!content.bytes) {
        std::fputs("Cannot allocate memory\n", stderr);
        return {};
    }
    // A file that shrinks meanwhile, or fails, counts as far as it could be read.
    const std::size_t read =
        std::fread(content.bytes.get(), 1, static_cast<std::size_t>(content.size_bytes), file.get());
    content.size_bytes = static_cast<int>(read);
    return content;
}

} // namespace

void parse_xml_file(const char* path, const xml_handlers& handlers)
{
    const file_content content = read_whole(path);
    if (!content.bytes)
        return;
    const owned_xml_parser parser(XML_ParserCreate(nullptr));
    if (!parser) {
        std::fputs("Cannot allocate memory\n", stderr);
        return;
    }
    XML_SetUserData(parser.get(), handlers.user_data);
    XML_SetElementHandler(parser.get(), handlers.start_element, handlers.end_element);
    XML_SetCharacterDataHandler(parser.get(), handlers.character_data);
    if (XML_Parse(parser.get(), content.bytes.get(), content.size_bytes, XML_TRUE) != XML_STATUS_OK)
        std::fputs("XML parsing failed\n", stderr);
}
