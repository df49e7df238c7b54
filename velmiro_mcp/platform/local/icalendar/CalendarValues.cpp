#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace velmiro::local {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

/// Takes a number of exactly `digits` digits from the front of `text`. Returns -1 if there is none.
int takeNumber(std::string_view& text, std::size_t digits) {
    int value = 0;
    for (const char digit : text.substr(0, digits)) {
        if (digit < '0' || digit > '9') {
            return -1;
        }
        value = value * 10 + (digit - '0');
    }
    const bool enough = text.size() >= digits;
    text.remove_prefix(std::min(digits, text.size()));
    return enough ? value : -1;
}

std::optional<CivilDay> takeDay(std::string_view& text) {
    const int year = takeNumber(text, 4);
    const int month = takeNumber(text, 2);
    const int day = takeNumber(text, 2);
    if (year < 0 || month < 0 || day < 0) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    return date.ok() ? std::optional{CivilDay{date}} : std::nullopt;
}

/// Returns the text with LF for every CR LF and every lone CR.
std::string withLineFeeds(std::string text) {
    std::size_t kept = text.find('\r');
    if (kept == std::string::npos) {
        return text;
    }
    for (std::size_t index = kept; index < text.size(); ++index) {
        const bool isReturn = text[index] == '\r';
        if (!isReturn || index + 1 == text.size() || text[index + 1] != '\n') {
            text[kept++] = isReturn ? '\n' : text[index];
        }
    }
    text.resize(kept);
    return text;
}

} // namespace

std::optional<Moment> readMoment(std::string_view text, const std::shared_ptr<const Zone>& zone) {
    text = trimWSP(text);
    const auto day = takeDay(text);
    if (!day || text.empty()) {
        return day ? std::optional{Moment{*day, true, nullptr}} : std::nullopt;
    }
    if (text.front() != 'T') {
        return std::nullopt;
    }
    text.remove_prefix(1);
    const int hour = takeNumber(text, 2);
    const int minute = takeNumber(text, 2);
    const int second = takeNumber(text, 2);
    const bool inUTC = text == "Z";
    // A leap second counts as the second after it.
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60 ||
        (!inUTC && !text.empty())) {
        return std::nullopt;
    }
    return Moment{*day + hours{hour} + minutes{minute} + seconds{second}, false,
                  inUTC ? Zone::utc() : zone};
}

std::string momentText(const Moment& moment) {
    const CivilDay day = dayOf(moment.civil);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss time{moment.civil - day};
    std::array<char, 64> text{};
    int length = std::snprintf(text.data(), text.size(), "%04d%02u%02u", int{date.year()},
                               unsigned{date.month()}, unsigned{date.day()});
    if (!moment.isDate) {
        length = std::snprintf(
            text.data(), text.size(), "%04d%02u%02uT%02d%02d%02d%s", int{date.year()},
            unsigned{date.month()}, unsigned{date.day()}, static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
            moment.zone == Zone::utc() ? "Z" : "");
    }
    return {text.data(), static_cast<std::size_t>(length)};
}

ContentLine dateLine(const ContentLine& line) {
    const auto colon = line.parameters.empty() ? std::string_view::npos : line.value.rfind(':');
    if (colon == std::string_view::npos) {
        return line;
    }
    const char* const begin = line.parameters.data();
    const char* const end = line.value.data() + colon;
    return {line.name, {begin, end}, line.value.substr(colon + 1)};
}

std::optional<Moment> readMoment(const ContentLine& line, const ZoneFinder& zones) {
    const auto moments = readMoments(line, zones);
    return moments.empty() ? std::nullopt : std::optional{moments.front().start};
}

std::optional<std::string> readText(const Component& component, std::string_view name) {
    const ContentLine* const line = component.line(name);
    return line != nullptr ? std::optional{withLineFeeds(unescapedText(line->value))}
                           : std::nullopt;
}

std::optional<Moment> readMoment(const Component& component, std::string_view name,
                                 const ZoneFinder& zones) {
    const ContentLine* const line = component.line(name);
    return line != nullptr ? readMoment(*line, zones) : std::nullopt;
}

std::optional<NominalDuration> readDuration(const Component& component) {
    const std::string_view text = readWord(component, "DURATION");
    return text.empty() ? std::nullopt : readDuration(std::string{text});
}

std::string_view readWord(const Component& component, std::string_view name) {
    const ContentLine* const line = component.line(name);
    return line != nullptr ? trimWSP(line->value) : std::string_view{};
}

std::vector<MomentOrPeriod> readMoments(const ContentLine& written, const ZoneFinder& zones) {
    const ContentLine line = dateLine(written);
    const auto zoneName = line.parameter("TZID");
    const bool datesOnly = sameWord(line.parameter("VALUE"), "DATE");
    const auto zone = zoneName.empty() ? nullptr : zones(zoneName);
    std::vector<MomentOrPeriod> values;
    std::string_view rest = line.value;
    while (!rest.empty()) {
        const auto text = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(text.size() + 1, rest.size()));
        const auto slash = std::min(text.find('/'), text.size());
        auto start = readMoment(text.substr(0, slash), zone);
        if (!start) {
            continue;
        }
        if (datesOnly) {
            start = Moment{dayOf(start->civil), true, nullptr};
        }
        MomentOrPeriod value{*start, std::nullopt, std::nullopt};
        if (slash < text.size()) {
            const auto end = trimWSP(text.substr(slash + 1));
            value.end = readMoment(end, zone);
            value.duration = value.end ? std::nullopt : readDuration(std::string{end});
        }
        values.push_back(std::move(value));
    }
    return values;
}

std::optional<seconds> readOffset(std::string_view text) {
    const bool west = text.starts_with('-');
    if (!west && !text.starts_with('+')) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    const int hour = takeNumber(text, 2);
    const int minute = takeNumber(text, 2);
    const int second = text.empty() ? 0 : takeNumber(text, 2);
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
        !text.empty()) {
        return std::nullopt;
    }
    const seconds size = hours{hour} + minutes{minute} + seconds{second};
    return west ? -size : size;
}

} // namespace velmiro::local
