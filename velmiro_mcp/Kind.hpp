#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace velmiro {

/// A kind of data that the host may switch on, in the order in which their tools are listed.
enum class Kind { calendar, reminders, contacts, notes, mail };

inline constexpr std::array allCases{Kind::calendar, Kind::reminders, Kind::contacts, Kind::notes,
                                     Kind::mail};

/// The kind's name in the environment: calendar, reminders, contacts, notes or mail.
std::string_view rawValue(Kind kind) noexcept;

/// The kind with exactly this name.
std::optional<Kind> kindNamed(std::string_view name) noexcept;

/// The kinds that `VELMIRO_ENABLED` names, separated by commas, with blanks and tabs around them;
/// all of them when there is no such variable. Names of nothing are passed over, so a variable that
/// names no kind switches everything off.
std::set<Kind> enabledKinds(const std::map<std::string, std::string>& environment);

} // namespace velmiro
