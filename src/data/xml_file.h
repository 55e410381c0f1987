#pragma once

#include "handles.h"

#include <expat.h>
#include <memory>

using owned_xml_parser = std::unique_ptr<XML_ParserStruct, releaser<XML_ParserFree>>;

/// What expat calls while it parses, and the context that it passes to each call.
struct xml_handlers {
    void* user_data = nullptr;
    XML_StartElementHandler start_element = nullptr;
    XML_EndElementHandler end_element = nullptr;
    XML_CharacterDataHandler character_data = nullptr; ///< null: text is of no interest
};

/// Reads the file at `path` whole and passes it through expat in one call, in the encoding that the
/// document itself declares. The file must be open to writing too, although nothing is written.
/// Failures are printed on standard error: "Cannot open %s\n", "Cannot allocate memory\n" (also for
/// a file without a size or of more than 2 GB) and, when the document is not well-formed,
/// "XML parsing failed\n"; what the handlers did up to there stays.
void parse_xml_file(const char* path, const xml_handlers& handlers);
