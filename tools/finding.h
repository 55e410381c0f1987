#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// How much a finding matters.
enum class severity : std::uint8_t {
    note,    ///< worth knowing
    warning, ///< something is missing on the screen, or receivers may differ
    broken,  ///< viewers see something wrong, or the daemon does not start
};

/// What the preview has to say about a screen, or about all of them.
struct finding {
    severity level = severity::note;
    std::string text{};
};

using finding_list = std::vector<finding>;
