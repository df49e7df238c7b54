#pragma once

#include "velmiro_mcp/platform/local/editing/LineEdits.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <string_view>

namespace velmiro::local {

/// What a rule takes from the start of its series: the weekday of a weekly one, for example.
enum class Implied { stays, isWritten };

/// Changes the RRULE lines of a component so that they go on from `next`, an occurrence after
/// `start`. Every COUNT is reduced by the occurrences that are over. `text` is the unfolded text of
/// the file, from which the component was read.
void continueRules(LineEdits& edits, std::string_view text, const Component& component,
                   const Moment& start, CivilTime next, Implied implied);

} // namespace velmiro::local
