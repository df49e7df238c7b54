#include "velmiro_mcp/platform/local/editing/NextReminder.hpp"

#include "velmiro_mcp/platform/local/calendars/Series.hpp"
#include "velmiro_mcp/platform/local/editing/ComponentEdits.hpp"
#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"
#include "velmiro_mcp/platform/local/editing/RuleEdits.hpp"
#include "velmiro_mcp/platform/local/files/Random.hpp"
#include "velmiro_mcp/platform/local/zones/FileZones.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>
#include <map>
#include <ranges>

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// A reminder's dates, and how it recurs from the first of them.
struct Recurring {
    std::optional<Moment> begins; ///< DTSTART
    std::optional<Moment> due;
    StoredEvent series;

    [[nodiscard]] bool recurs() const { return !series.rules.empty() || !series.rdates.empty(); }
};

Recurring readRecurring(const Component& reminder, const ZoneFinder& zones) {
    Recurring found{readMoment(reminder, "DTSTART", zones), readMoment(reminder, "DUE", zones), {}};
    if (const auto& start = found.begins ? found.begins : found.due) {
        found.series = readSeries(reminder, *start, zones);
    }
    return found;
}

/// Returns what the other reminders of the file say of single occurrences that are over.
std::vector<StoredEvent> overridesOf(const std::vector<ReminderComponent>& all,
                                     const Component& reminder, const ZoneFinder& zones) {
    std::vector<StoredEvent> overrides;
    const std::string uid = readReminder(reminder, zones).identifier;
    for (const ReminderComponent& other : all) {
        const ContentLine* const line = other.reminder->line("RECURRENCE-ID");
        if (line == nullptr) {
            continue;
        }
        const StoredReminder stored = readReminder(*other.reminder, zones);
        if (stored.hasUID && stored.identifier == uid && !stored.isOpen()) {
            StoredEvent& event = overrides.emplace_back();
            event.recurrenceID = readMoment(*line, zones);
            event.cancelled = stored.cancelled;
            event.thisAndFuture = sameWord(line->parameter("RANGE"), "THISANDFUTURE");
        }
    }
    return overrides;
}

using Overrides = std::vector<const StoredEvent*>;

struct Found {
    std::vector<Occurrence> occurrences;
    bool exhausted = false; ///< there may be more
};

/// Returns the occurrences of a series after an instant, in order: at least `least`, if it has so
/// many within a century.
Found occurrencesAfter(Instant instant, std::size_t least, const StoredEvent& series,
                       const Overrides& overrides, UserClock& clock) {
    Found found;
    // Short reaches first: a long one computes far too many occurrences of a dense series.
    for (const hours reach : {hours{1}, hours{days{1}}, hours{days{7}}, hours{days{62}},
                              hours{days{400}}, hours{days{4'400}}, hours{days{40'000}}}) {
        WorkBudget budget{stepsOfSeries};
        found = {seriesOccurrences(series, overrides, {instant + milliseconds{1}, instant + reach},
                                   clock, budget),
                 budget.exhausted()};
        std::erase_if(found.occurrences,
                      [&](const Occurrence& each) { return each.start <= instant; });
        if (found.occurrences.size() >= least) {
            break;
        }
    }
    return found;
}

/// Returns the line with another moment, in the same form. Throws PlatformError if the form has no
/// such year.
std::string withMoment(const ContentLine& written, Moment moment, CivilTime civil) {
    const ContentLine line = dateLine(written);
    moment.civil = moment.isDate ? dayOf(civil) : civil;
    requireWritable(moment);
    return std::string{line.name} + std::string{line.parameters} + ":" + momentText(moment);
}

/// Returns when the next one is due. It stays as long after the start as it is: on the clock, or if
/// they are on different clocks, in time.
CivilTime nextDue(const Recurring& old, const Moment& start, CivilTime next, UserClock& clock) {
    const Moment& due = *old.due;
    if (due.isDate || start.isDate || due.zone == start.zone) {
        return due.civil + (next - start.civil);
    }
    const auto after = clock.instantOf(due) - clock.instantOf(start);
    return UserClock::civil(clock.instantOf({next, false, start.zone}) + after, due.zone.get());
}

/// Moves the alarms that ring at a time of their own as far as the reminder, on the clock of its
/// date. Others count from its dates anyway.
void moveAlarms(LineEdits& edits, std::string_view text, const Component& reminder,
                const Moment& date, CivilTime nextDate, const ZoneFinder& zones) {
    LineCounter counter{text};
    UserClock clock;
    for (const Component& part : reminder.parts) {
        if (!part.is("VALARM") || sameWord(readWord(part, "ACTION"), "NONE")) {
            continue; // the latter says that there is no alarm, and its time says nothing
        }
        for (const ContentLine& line : part.lines) {
            const auto alarm = line.is("TRIGGER") ? readMoment(line, zones) : std::nullopt;
            if (!alarm || alarm->isDate) {
                continue;
            }
            const CivilTime shown = UserClock::civil(clock.instantOf(*alarm), date.zone.get());
            const Instant next =
                clock.instantOf({shown + (nextDate - date.civil), false, date.zone});
            edits.replace(counter.lineOf(line.name.data()),
                          withMoment(line, *alarm, UserClock::civil(next, alarm->zone.get())));
        }
    }
}

/// Returns whether two series go on alike after an instant; as far as the budget reaches.
bool goOnAlike(const StoredEvent& old, const Overrides& overrides, const StoredEvent& next,
               Instant instant, UserClock& clock) {
    constexpr std::size_t enough = 40; // more than three years of months
    const Found expected = occurrencesAfter(instant, enough, old, overrides, clock);
    const Found found = occurrencesAfter(instant, enough, next, overrides, clock);
    std::size_t compared = enough;
    if (expected.exhausted || found.exhausted) {
        compared = std::min({enough, expected.occurrences.size(), found.occurrences.size()});
    }
    return std::ranges::equal(expected.occurrences | std::views::take(compared),
                              found.occurrences | std::views::take(compared), {},
                              &Occurrence::start, &Occurrence::start);
}

} // namespace

std::optional<NextReminder> nextReminder(const std::string& bytes, const std::string& text,
                                         const std::vector<ReminderComponent>& all,
                                         const ReminderComponent& source, Instant now,
                                         ZoneCatalogue& catalogue) {
    const Component& reminder = *source.reminder;
    WorkBudget budget{stepsOfSeries};
    FileZones zones{catalogue, budget};
    if (source.calendar != nullptr) {
        zones.learn(source.calendar->parts);
    }
    const ZoneFinder finder = zones.finder();
    const Recurring old = readRecurring(reminder, finder);
    if (!old.recurs()) {
        return std::nullopt;
    }
    const std::vector<StoredEvent> over = overridesOf(all, reminder, finder);
    Overrides overrides;
    for (const StoredEvent& event : over) {
        overrides.push_back(&event);
    }
    UserClock clock;
    const Moment& start = old.series.start;
    const Found following =
        occurrencesAfter(clock.instantOf(start), 1, old.series, overrides, clock);
    if (following.occurrences.empty()) {
        return std::nullopt;
    }
    const Occurrence& next = following.occurrences.front();
    const Moment& date = old.due ? *old.due : start;
    const CivilTime nextDate = old.due ? nextDue(old, start, next.civil, clock) : next.civil;

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
    if (old.begins) {
        properties.emplace("DTSTART",
                           withMoment(*reminder.line("DTSTART"), *old.begins, next.civil));
    }
    if (old.due) {
        properties.emplace("DUE", withMoment(*reminder.line("DUE"), date, nextDate));
    }
    for (const Implied implied : {Implied::stays, Implied::isWritten}) {
        LineEdits edits{bytes};
        keepOnly(edits, text, reminder, source.calendar);
        setProperties(edits, text, reminder, properties);
        moveAlarms(edits, text, reminder, date, nextDate, finder);
        continueRules(edits, text, reminder, start, next.civil, implied);
        NextReminder result{uid, edits.text()};
        const std::string unfolded = unfoldedText(result.text);
        const std::vector<Component> components = readComponents(unfolded);
        const auto written = reminderComponents(components);
        if (written.size() == 1 &&
            goOnAlike(old.series, overrides, readRecurring(*written[0].reminder, finder).series,
                      next.start, clock)) {
            return result;
        }
    }
    throw PlatformError{"the rest of this recurring reminder cannot be kept as it is; nothing was "
                        "saved"};
}

} // namespace velmiro::local
