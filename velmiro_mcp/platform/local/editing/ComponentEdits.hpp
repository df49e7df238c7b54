#pragma once

#include "velmiro_mcp/platform/local/editing/LineEdits.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"

#include <map>
#include <string>
#include <string_view>

/// Edits of a component in the lines of its file. `text` is the unfolded text of the file, from
/// which the component was read.
namespace velmiro::local {

/// Sets the lines of properties, given by name and without a line break. Replaces the first line of
/// that name and removes any others. Inserts a new property before the first nested component, or
/// at the end. An empty line removes a property.
void setProperties(LineEdits& edits, std::string_view text, const Component& component,
                   const std::map<std::string, std::string>& properties);

/// Removes everything that does not belong to one component: all text outside its calendar, and the
/// calendar's other components except VTIMEZONEs. If `calendar` is null, all but the component.
void keepOnly(LineEdits& edits, std::string_view text, const Component& component,
              const Component* calendar);

} // namespace velmiro::local
