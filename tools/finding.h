#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// How much a finding matters.
enum class severity : std::uint8_t {
    note,    ///< worth knowing
    warning, ///< something is missing on the screen, or receivers may differ
    error,   ///< viewers see something broken, wrong or nothing, or the daemon does not start
};

constexpr const char* name_of(severity level)
{
    return level == severity::error ? "error" : level == severity::warning ? "warning" : "note";
}

/// A place in a file; columns count characters. Without a line it is the whole file, without a file none.
struct source_position {
    std::string file{};     ///< path
    std::uint32_t line = 0; ///< both count from 1
    std::uint32_t column = 0;

    bool operator==(const source_position&) const = default;
};

/// What there is to say about a file, an article or a screen.
struct finding {
    severity level = severity::note;
    std::string kind{}; ///< what is found, for programs: "unknown-element"; docs/preview.md lists them
    source_position at{};
    std::string article{};    ///< its code; empty: it has none, or it is not about an article
    std::string host{};       ///< that shows the article; empty: any
    std::uint32_t screen = 0; ///< number of the article among those shown, from 1; 0: none
    std::string region{};     ///< of the layout, or "banner"; empty: none
    std::string what{};       ///< what viewers will see, one sentence without its full stop
    std::string advice{};     ///< what to write or do instead; may be empty
    std::string same{};       ///< what findings of one kind share whose words differ; empty: their words
};

/// Of a file that is not used as a whole: what is drawn without it is not what its author means.
inline bool is_trouble(const finding& found)
{
    return found.kind == "unreadable-file" || found.kind == "malformed-file";
}

using finding_list = std::vector<finding>;
