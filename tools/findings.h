#pragma once

#include "finding.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

/// Where one of several equal findings is.
struct finding_place {
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    std::string article{};
    std::string host{};
    std::uint32_t screen = 0;
};

/// Findings of one kind that say the same of the same file and region.
struct finding_group {
    finding first{};
    std::vector<finding_place> places{}; ///< the first ones
    std::uint64_t count = 0;
    bool is_of_hosts = false; ///< of several ones
};

/// How many findings there are of each severity.
struct finding_count {
    std::uint64_t errors = 0;
    std::uint64_t warnings = 0;
    std::uint64_t notes = 0;
};

/// What all checks together have found. Its size has a limit, whatever is added: groups of a kind and
/// their places beyond theirs are only counted.
struct finding_groups {
    /// Severity (the gravest first), file, kind, region, what they share; and, of a finding about no article,
    /// line and column.
    using key =
        std::tuple<int, std::string, std::string, std::string, std::string, std::uint32_t, std::uint32_t>;
    std::map<key, finding_group> groups{};
    std::map<std::string, std::size_t> kinds{}; ///< groups of each
    finding_count count{};
    std::uint64_t unlisted = 0; ///< findings for which there was no group left
};

inline constexpr std::size_t finding_groups_max = 100; ///< of one kind
inline constexpr std::size_t finding_places_max = 20;

void add_finding(finding_groups& all, const finding& added);
void add_findings(finding_groups& all, const finding_list& added);

/// Adds findings that are one group already; they are not counted.
void add_group(finding_groups& all, const finding_group& added);

/// Adds what another process found.
void merge_findings(finding_groups& all, const finding_groups& added);

/// Errors, then warnings, then notes, each by file, line and column. The pointers hold until something is
/// added.
std::vector<const finding_group*> sorted_groups(const finding_groups& all);
