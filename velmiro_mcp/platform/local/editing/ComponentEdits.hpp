#pragma once

#include "velmiro_mcp/platform/local/editing/LineEdits.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"

#include <map>
#include <string>
#include <string_view>

/// Changes of a component in the lines of its file. `text` is the unfolded text of the file, which
/// the component was read from.
namespace velmiro::local {

/// Gives properties their lines, by name and without line break: the first line of the name is
/// replaced, others of the same name go; a property that is not there yet comes before the first
/// nested component, or at the end. An empty line takes a property away.
void setProperties(LineEdits& edits, std::string_view text, const Component& component,
                   const std::map<std::string, std::string>& properties);

/// Removes all that has nothing to do with one component: what is outside of the calendar it lies
/// in, and of that the other components but zones. Without a calendar, all but the component.
void keepOnly(LineEdits& edits, std::string_view text, const Component& component,
              const Component* calendar);

} // namespace velmiro::local
