#include "velmiro_mcp/platform/local/zones/VTimeZone.hpp"

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"
#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <algorithm>
#include <optional>

// A VTIMEZONE is a list of observances (STANDARD, DAYLIGHT). Each has the offsets before and after
// it begins, and the times at which it begins, as the clocks show them just before. Some programs
// write the whole history of a zone, dozens of observances that each end after a few years, so a
// rule is expanded no further than its UNTIL. The rules come from strangers too: their steps are
// counted, and a VTIMEZONE that uses them up is not used at all, since the missing part may be
// today's rules.

namespace velmiro::local {
namespace {

using std::chrono::seconds;

struct Observance {
    seconds before{0};
    seconds after{0};
    CivilTime start;
};

std::optional<Observance> readObservance(const Component& component) {
    const auto before = readOffset(readWord(component, "TZOFFSETFROM"));
    const auto after = readOffset(readWord(component, "TZOFFSETTO"));
    const auto start = readMoment(readWord(component, "DTSTART"), nullptr);
    if (!component.complete || !before || !after || !start) {
        return std::nullopt;
    }
    return Observance{*before, *after, start->civil};
}

class VTimeZoneReader {
public:
    explicit VTimeZoneReader(WorkBudget& budget) : budget_{budget} {}

    void add(const Component& component) {
        const auto observance = readObservance(component);
        if (!observance) {
            return;
        }
        add(*observance, observance->start);
        for (const ContentLine& line : component.lines) {
            if (line.is("RDATE")) {
                for (const MomentOrPeriod& onset :
                     readMoments(line, [](std::string_view) { return nullptr; })) {
                    if (budget_.spend()) {
                        add(*observance, onset.start.civil);
                    }
                }
            } else if (line.is("RRULE")) {
                addRule(*observance, line.value);
            }
        }
    }

    /// Returns the zone. `fallback` applies before the first observance begins, and throughout if
    /// no observance was read or the steps ran out. Without a fallback, the offset before the first
    /// observance is the one that this observance ends.
    std::shared_ptr<const Zone> zone(const std::shared_ptr<const Zone>& fallback) {
        if (changes_.empty() || budget_.exhausted()) {
            return fallback;
        }
        return fallback ? std::make_shared<const Zone>(*fallback, std::move(changes_))
                        : std::make_shared<const Zone>(first_, std::move(changes_));
    }

private:
    void add(const Observance& observance, CivilTime onset) {
        const UTCTime at = UTCTime{onset.time_since_epoch()} - observance.before;
        if (changes_.empty() || at < earliest_) {
            earliest_ = at;
            first_ = observance.before;
        }
        changes_.push_back({at, observance.after});
    }

    void addRule(const Observance& observance, std::string_view text) {
        const auto rule = readRule(text);
        if (!rule) {
            return;
        }
        const CivilDay from{std::chrono::year{1900} / 1 / 1};
        CivilTime to = CivilDay{std::chrono::year{Zone::lastYear + 1} / 1 / 1};
        if (rule->until) {
            constexpr std::chrono::days slack{2}; // more than the zone's clocks differ from UTC
            to = std::min(to, rule->until->civil + slack);
        }
        for (const CivilTime onset : recurrences(*rule, observance.start, from, to, budget_)) {
            if (!rule->until || isWithin(*rule->until, observance, onset)) {
                add(observance, onset);
            }
        }
    }

    static bool isWithin(const Moment& until, const Observance& observance, CivilTime onset) {
        if (until.isDate) {
            return dayOf(onset) <= until.civil;
        }
        return until.zone ? onset - observance.before <= until.civil : onset <= until.civil;
    }

    WorkBudget& budget_;
    std::vector<Zone::Change> changes_;
    UTCTime earliest_;
    seconds first_{0};
};

} // namespace

std::shared_ptr<const Zone> readVTimeZone(const Component& component,
                                          const std::shared_ptr<const Zone>& fallback,
                                          WorkBudget& whole) {
    WorkBudget budget{mostStepsOfVTimeZone, &whole};
    VTimeZoneReader reader{budget};
    for (const Component& part : component.parts) {
        if (part.is("STANDARD") || part.is("DAYLIGHT")) {
            reader.add(part);
        }
    }
    return reader.zone(fallback);
}

} // namespace velmiro::local
