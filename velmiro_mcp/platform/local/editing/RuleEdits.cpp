#include "velmiro_mcp/platform/local/editing/RuleEdits.hpp"

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"

#include <algorithm>
#include <array>
#include <string>

namespace velmiro::local {
namespace {

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
            rest += "COUNT=" + std::to_string(*count - used);
        } else {
            rest += part;
        }
    }
    return rest;
}

/// Returns how many occurrences the rule has up to `next`, the start included but not `next`
/// itself, which counts as the first of the rest even if it is none of the rule's.
std::int64_t occurrencesBefore(const RecurrenceRule& rule, CivilTime start, CivilTime next) {
    WorkBudget budget{stepsOfSeries};
    const auto found = recurrences(rule, start, start, next, budget);
    return static_cast<std::int64_t>(found.size()) - 1;
}

/// Returns the parts that the rule takes from the start of its series, each after a semicolon.
std::string impliedParts(const RecurrenceRule& rule, const Moment& start) {
    constexpr std::array<const char*, 7> names{"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    const CivilDay day = dayOf(start.civil);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{start.civil - day};
    const std::string byWeekday =
        std::string{";BYDAY="} + names.at(std::chrono::weekday{day}.c_encoding());
    const std::string byMonthDay = ";BYMONTHDAY=" + std::to_string(unsigned{date.day()});
    const bool hasNoDays = rule.weekdays.empty() && rule.monthDays.empty() && rule.yearDays.empty();

    std::string parts;
    if (rule.frequency == Frequency::weekly && rule.weekdays.empty()) {
        parts += byWeekday;
    } else if (rule.frequency == Frequency::monthly && hasNoDays) {
        parts += byMonthDay;
    } else if (rule.frequency == Frequency::yearly && hasNoDays) {
        if (!rule.weeks.empty()) {
            parts += byWeekday;
        } else {
            parts +=
                rule.months.empty() ? ";BYMONTH=" + std::to_string(unsigned{date.month()}) : "";
            parts += byMonthDay;
        }
    }
    const auto add = [&](Frequency longest, const std::vector<int>& given, const char* name,
                         std::int64_t value) {
        if (!start.isDate && rule.frequency > longest && given.empty()) {
            parts += name + std::to_string(value);
        }
    };
    add(Frequency::hourly, rule.hours, ";BYHOUR=", clock.hours().count());
    add(Frequency::minutely, rule.minutes, ";BYMINUTE=", clock.minutes().count());
    add(Frequency::secondly, rule.seconds, ";BYSECOND=", clock.seconds().count());
    return parts;
}

} // namespace

void continueRules(LineEdits& edits, std::string_view text, const Component& component,
                   const Moment& start, CivilTime next, Implied implied) {
    LineCounter counter{text};
    for (const ContentLine& line : component.lines) {
        const auto rule = line.is("RRULE") ? readRule(line.value) : std::nullopt;
        if (!rule || (!rule->count && implied == Implied::stays)) {
            continue;
        }
        std::string value{line.value};
        if (rule->count) {
            value = withRemainingCount(value, occurrencesBefore(*rule, start.civil, next));
        }
        if (implied == Implied::isWritten) {
            value += impliedParts(*rule, start);
        }
        edits.replace(counter.lineOf(line.name.data()), "RRULE:" + value);
    }
}

} // namespace velmiro::local
