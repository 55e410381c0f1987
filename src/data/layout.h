#pragma once

#include <cstdint>

// The screen layout: where on the display each piece of an article is drawn and how it looks. The file
// has a root element of any name; in it `region` elements; in each of these a `text` element, an
// `image` element, both or neither. What its attributes do not give stays zero, false or null.

/// One named region. The list is in document order; it and its texts, made with `calloc` and
/// `malloc`, live as long as the process.
struct layout_region {
    char* name = nullptr;              ///< null: never found
    std::int32_t width = 0;            ///< in pixels
    std::int32_t height = 0;           ///< in pixels
    std::int32_t x_pos = 0;            ///< in pixels from the left of the display
    std::int32_t y_pos = 0;            ///< in pixels from the top of the display
    std::uint32_t backgroundColor = 0; ///< 0xAARRGGBB; alpha 255 is opaque
    std::uint32_t foregroundColor = 0; ///< likewise, of the text
    std::int32_t size = 0;             ///< of the font, in pixels
    char* font = nullptr;              ///< family name
    bool adjustRegionSize = false;     ///< the region shrinks to its text
    bool keepRatio = false;            ///< the height follows from the width of the region and the image
    layout_region* next = nullptr;
};

/// Reads a layout file. Returns its regions, or null when the file cannot be read or holds none; after
/// a parse error these are the regions up to the error. Besides the messages of `parse_xml_file`,
/// standard error may get "calloc allocate memory\n" for a region that is left out,
/// "Cannot allocate memory\n" for a text that is, "Invalid tag inside elem %s\n" for an unknown
/// element inside a region, "Invalid parse status %d in elemStart\n" for an element inside a `text`
/// or `image`, and "unknown attribut %s for element %s\n".
[[nodiscard]] layout_region* ParseXMLLayout(const char* path);

/// Frees a whole list with all that it owns: for programs that go on. The daemon keeps its layout.
void free_layout(layout_region* first);

/// The first region of the list from `head` on with exactly that name. Null when there is none, and
/// for a null name.
[[nodiscard]] const layout_region* getRegionByName(const layout_region* head, const char* name);
