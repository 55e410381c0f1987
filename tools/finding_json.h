#pragma once

#include "finding.h"

#include <nlohmann/json.hpp>

/// A finding in every JSON document of the preview.
inline nlohmann::ordered_json json_of(const finding& found)
{
    return {{"severity", name_of(found.level)}, {"kind", found.kind}, {"file", found.at.file},
        {"line", found.at.line}, {"column", found.at.column}, {"article", found.article},
        {"host", found.host}, {"screen", found.screen}, {"region", found.region}, {"what", found.what},
        {"advice", found.advice}, {"same", found.same}};
}
