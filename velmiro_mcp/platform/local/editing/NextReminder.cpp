#include "velmiro_mcp/platform/local/editing/NextReminder.hpp"

#include "velmiro_mcp/platform/local/calendars/Series.hpp"
#include "velmiro_mcp/platform/local/editing/ComponentEdits.hpp"
#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"
#include "velmiro_mcp/platform/local/files/Random.hpp"
#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"
#include "velmiro_mcp/platform/local/zones/FileZones.hpp"

#include <algorithm>
#include <map>

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::seconds;

/// Returns the first occurrence of a series after its start.
std::optional<Instant> firstAfterStart(const StoredEvent& series, UserClock& clock) {
    const Instant start = clock.instantOf(series.start);
    // Short reaches first: a long one computes far too many occurrences of a dense series.
    for (const hours reach : {hours{1}, hours{days{1}}, hours{days{7}}, hours{days{62}},
                              hours{days{400}}, hours{days{4'400}}, hours{days{40'000}}}) {
        WorkBudget budget{stepsOfSeries};
        std::optional<Instant> next;
        for (const Occurrence& occurrence :
             seriesOccurrences(series, {}, {start + std::chrono::milliseconds{1}, start + reach},
                               clock, budget)) {
            if (occurrence.start > start && (!next || occurrence.start < *next)) {
                next = occurrence.start;
            }
        }
        if (next) {
            return next;
        }
    }
    return std::nullopt;
}

/// Returns the number of a COUNT part, however it is written.
std::optional<std::int64_t> countOf(std::string_view part) {
    const auto rule = readRule("FREQ=DAILY;" + std::string{part});
    return rule ? rule->count : std::nullopt;
}

/// Returns the rule with its COUNT, if it has one, reduced by the occurrences already used.
std::string withRemainingCount(std::string_view text, std::int64_t used) {
    std::string rest;
    while (!text.empty()) {
        const auto part = text.substr(0, text.find(';'));
        text.remove_prefix(std::min(part.size() + 1, text.size()));
        rest += rest.empty() ? "" : ";";
        const auto count = countOf(part);
        if (count) {
            rest += "COUNT=" + std::to_string(std::max<std::int64_t>(*count - used, 1));
        } else {
            rest += part;
        }
    }
    return rest;
}

/// Returns how many occurrences the rule has before `next`, the start included; at least 1.
std::int64_t occurrencesBefore(const RecurrenceRule& rule, CivilTime start, CivilTime next) {
    WorkBudget budget{stepsOfSeries};
    const auto found = recurrences(rule, start, start, next, budget);
    return std::max<std::int64_t>(static_cast<std::int64_t>(found.size()) - 1, 1);
}

/// Returns the line with its moment shifted, in the same form.
std::string shifted(const ContentLine& written, Moment moment, seconds shift) {
    const ContentLine line = dateLine(written);
    moment.civil += shift;
    if (moment.isDate) {
        moment.civil = dayOf(moment.civil);
    }
    return std::string{line.name} + std::string{line.parameters} + ":" + momentText(moment);
}

} // namespace

std::optional<NextReminder> nextReminder(const std::string& bytes, const std::string& text,
                                         const ReminderComponent& source, Instant now,
                                         ZoneCatalogue& catalogue) {
    const Component& reminder = *source.reminder;
    WorkBudget budget{stepsOfSeries};
    FileZones zones{catalogue, budget};
    if (source.calendar != nullptr) {
        zones.learn(source.calendar->parts);
    }
    const ZoneFinder finder = zones.finder();
    const auto begins = readMoment(reminder, "DTSTART", finder);
    const auto due = readMoment(reminder, "DUE", finder);
    const auto start = begins ? begins : due;
    const StoredEvent series = start ? readSeries(reminder, *start, finder) : StoredEvent{};
    if (series.rules.empty()) {
        return std::nullopt;
    }
    UserClock clock;
    const auto next = firstAfterStart(series, clock);
    if (!next) {
        return std::nullopt;
    }
    const CivilTime nextTime = UserClock::civil(*next, start->zone.get());
    const seconds shift = nextTime - start->civil;

    const std::string uid = randomUUID();
    const std::string time = momentText(inUTC(now));
    std::map<std::string, std::string> properties{
        {"UID", "UID:" + uid},
        {"DTSTAMP", "DTSTAMP:" + time},
        {"CREATED", "CREATED:" + time},
        {"LAST-MODIFIED", "LAST-MODIFIED:" + time},
        {"STATUS", "STATUS:NEEDS-ACTION"},
        {"PERCENT-COMPLETE", ""},
        {"SEQUENCE", ""},
    };
    if (begins) {
        properties.emplace("DTSTART", shifted(*reminder.line("DTSTART"), *begins, shift));
    }
    if (due) {
        properties.emplace("DUE", shifted(*reminder.line("DUE"), *due, shift));
    }
    if (const RecurrenceRule& rule = series.rules.front(); rule.count) {
        const auto used = occurrencesBefore(rule, start->civil, nextTime);
        properties.emplace("RRULE",
                           "RRULE:" + withRemainingCount(reminder.line("RRULE")->value, used));
    }
    LineEdits edits{bytes};
    keepOnly(edits, text, reminder, source.calendar);
    setProperties(edits, text, reminder, properties);
    return NextReminder{uid, edits.text()};
}

} // namespace velmiro::local
