#pragma once

#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/icalendar/Libical.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Values of calendar properties in this program's own types.
namespace velmiro::local {

/// Finds the zone that a TZID names; null is the user's own.
using ZoneFinder = std::function<std::shared_ptr<const Zone>(std::string_view)>;

/// A DATE or DATE-TIME; nothing when the text is neither, or not a possible one. A time that ends
/// in Z is in UTC, another one in `zone`.
std::optional<Moment> readMoment(std::string_view text, const std::shared_ptr<const Zone>& zone);

/// The same backwards. A time in UTC ends in Z; of any other zone the text says nothing.
std::string momentText(const Moment& moment);

/// Returns a line that holds dates or times with its parameters and value told apart, also where a
/// TZID with a colon in it stands without quotes: DTSTART;TZID=(UTC+02:00) Athens:20260910T090000.
ContentLine dateLine(const ContentLine& line);

/// The value of a property such as DTSTART, with its TZID and VALUE=DATE.
std::optional<Moment> readMoment(const ContentLine& line, const ZoneFinder& zones);

/// What a component says in the first line of that name; nothing when it has none, or none that can
/// be read. In a text a carriage return, which some programs leave there, is a line break.
std::optional<std::string> readText(const Component& component, std::string_view name);
std::optional<Moment> readMoment(const Component& component, std::string_view name,
                                 const ZoneFinder& zones);
std::optional<NominalDuration> readDuration(const Component& component);

/// A value of an RDATE or EXDATE. A period has an end or a duration of its own.
struct MomentOrPeriod {
    Moment start;
    std::optional<Moment> end;
    std::optional<NominalDuration> duration;
};

/// Returns the readable values of a list property such as RDATE or EXDATE.
std::vector<MomentOrPeriod> readMoments(const ContentLine& line, const ZoneFinder& zones);

/// +0200 or -013015; nothing when the text is no offset, or one of more than a day.
std::optional<std::chrono::seconds> readOffset(std::string_view text);

} // namespace velmiro::local
