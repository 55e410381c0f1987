#pragma once

#include "article_file.h"
#include "finding.h"

#include <array>

/// Where an article and its texts stand: in the article file or in the reference file.
struct article_places {
    source_position at{};
    std::array<source_position, article_fields> fields{}; ///< without a line: the article has no such text
    bool has_bad_channel = false;

    /// The article's own place for a text that it does not have.
    [[nodiscard]] const source_position& operator[](article_field field) const
    {
        const source_position& place = fields[static_cast<std::size_t>(field)];
        return place.line == 0 ? at : place;
    }
};
