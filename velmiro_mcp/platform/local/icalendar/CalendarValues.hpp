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

/// Reads and writes the values of calendar properties.
namespace velmiro::local {

/// Finds the zone that a TZID names; null is the user's own zone.
using ZoneFinder = std::function<std::shared_ptr<const Zone>(std::string_view)>;

/// Reads a DATE or DATE-TIME. Returns `nullopt` if the text is neither, or names a day or time that
/// does not exist. A time that ends in Z is in UTC, any other in `zone`.
std::optional<Moment> readMoment(std::string_view text, const std::shared_ptr<const Zone>& zone);

/// Writes a DATE or DATE-TIME. A time in UTC ends in Z; the text does not name any other zone.
std::string momentText(const Moment& moment);

/// Returns a line of dates or times, split correctly into parameters and value even if it contains
/// an unquoted TZID with a colon: DTSTART;TZID=(UTC+02:00) Athens:20260910T090000.
ContentLine dateLine(const ContentLine& line);

/// Reads the value of a property such as DTSTART, with its TZID and VALUE=DATE.
std::optional<Moment> readMoment(const ContentLine& line, const ZoneFinder& zones);

/// Reads the value of a component's first line of that name. Returns `nullopt` if the component has
/// no such line, or the value is unreadable. In a text, a carriage return, which some programs
/// leave there, is a line break.
std::optional<std::string> readText(const Component& component, std::string_view name);
std::optional<Moment> readMoment(const Component& component, std::string_view name,
                                 const ZoneFinder& zones);
std::optional<NominalDuration> readDuration(const Component& component);

/// Returns the value of a component's first line of that name, for words and numbers; an empty one
/// if the component has no such line. Blanks around it do not count.
std::string_view readWord(const Component& component, std::string_view name);

/// A value of an RDATE or EXDATE. A period has an end or a duration of its own.
struct MomentOrPeriod {
    Moment start;
    std::optional<Moment> end;
    std::optional<NominalDuration> duration;
};

/// Returns the readable values of a list property such as RDATE or EXDATE.
std::vector<MomentOrPeriod> readMoments(const ContentLine& line, const ZoneFinder& zones);

/// Reads +0200 or -013015. Returns `nullopt` if the text is not an offset, or is one of a day or
/// more.
std::optional<std::chrono::seconds> readOffset(std::string_view text);

} // namespace velmiro::local
