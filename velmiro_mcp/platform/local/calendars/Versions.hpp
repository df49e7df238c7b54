#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// Returns the SEQUENCE of a component, or 0 if it has none that can be read.
std::int64_t sequenceOf(const Component& component);

/// A component of a file as one version of an item. Items are distinguished by UID and, if the
/// component stands for one occurrence of a series, by that occurrence.
struct ItemVersion {
    std::string_view uid; ///< empty: an item of its own
    std::optional<Moment> occurrence;
    const Component* component;
};

/// Returns, for each of a file's components, whether another one supersedes it. Of several versions
/// of an item the one with the highest SEQUENCE counts, then the latest DTSTAMP, then the latest
/// LAST-MODIFIED, then the last in the file. Views and pointers must stay valid until it returns.
std::vector<bool> supersededVersions(const std::vector<ItemVersion>& versions);

} // namespace velmiro::local
