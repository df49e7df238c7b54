#pragma once

#include "velmiro_mcp/platform/local/RecurrenceRule.hpp"

#include <optional>
#include <string>

/// The values of a calendar file whose grammar libical knows. Nothing else here knows libical.
namespace velmiro::local {

/// A DURATION: nominal days, which last as long as the clock says, and an exact time.
struct NominalDuration {
    std::chrono::days days{0};
    std::chrono::seconds time{0};
};

/// Nothing when the text is no rule, or one in another calendar than the Gregorian.
/// A rule's UNTIL has no zone but UTC, or else the one of the start it belongs to, which the caller
/// knows.
std::optional<RecurrenceRule> readRule(const std::string& text);

std::optional<NominalDuration> readDuration(const std::string& text);

} // namespace velmiro::local
