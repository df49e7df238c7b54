#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace velmiro {

/// A kind of data that the host may enable, in the order in which the tools are listed.
enum class Kind { calendar, reminders, contacts, notes, mail };

inline constexpr std::array allCases{Kind::calendar, Kind::reminders, Kind::contacts, Kind::notes,
                                     Kind::mail};

/// Returns the kind's name in the environment: calendar, reminders, contacts, notes or mail.
std::string_view rawValue(Kind kind) noexcept;

/// Returns the kind with exactly this name; nullopt if there is none.
std::optional<Kind> kindNamed(std::string_view name) noexcept;

/// Returns the kinds that `VELMIRO_ENABLED` names, separated by commas, with optional blanks and
/// tabs around them; all kinds if the variable is not set. Unknown names are ignored, so a variable
/// that names no kind disables everything.
std::set<Kind> enabledKinds(const std::map<std::string, std::string>& environment);

} // namespace velmiro
