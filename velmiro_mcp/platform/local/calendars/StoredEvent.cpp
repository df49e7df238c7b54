#include "velmiro_mcp/platform/local/calendars/StoredEvent.hpp"

#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"

namespace velmiro::local {
namespace {

/// Reads a rule of the event. Dates have no time of day, so for an all-day event the rule's times
/// are dropped, and a rule that repeats more often than daily is not read.
std::optional<RecurrenceRule> readRuleOf(const StoredEvent& event, std::string_view text) {
    auto rule = readRule(text);
    if (rule && event.isAllDay()) {
        if (rule->frequency < Frequency::daily) {
            return std::nullopt;
        }
        rule->hours.clear();
        rule->minutes.clear();
        rule->seconds.clear();
    }
    return rule;
}

void append(std::vector<MomentOrPeriod>& values, const std::vector<MomentOrPeriod>& more) {
    values.insert(values.end(), more.begin(), more.end());
}

class EventReader {
public:
    EventReader(const Component& component, const ZoneFinder& zones)
        : component_{component},
          zones_{zones} {}

    /// Returns `nullopt` if the component has no start and is not a cancellation either.
    std::optional<StoredEvent> read() {
        readTexts();
        event_.end = moment("DTEND");
        event_.duration = readDuration(component_);
        event_.cancelled = sameWord(readWord(component_, "STATUS"), "CANCELLED");
        if (const ContentLine* line = component_.line("RECURRENCE-ID")) {
            event_.recurrenceID = readMoment(*line, zones_);
            event_.thisAndFuture = sameWord(line->parameter("RANGE"), "THISANDFUTURE");
        }
        auto start = moment("DTSTART");
        if (!start && event_.cancelled) {
            start = event_.recurrenceID;
            event_.hasStart = start.has_value();
        }
        if (!start && !event_.cancelled) {
            return std::nullopt;
        }
        event_.start = start.value_or(Moment{});
        if (!event_.recurrenceID) {
            readRepetition();
        }
        return std::move(event_);
    }

    StoredEvent readSeries(const Moment& start) {
        event_.start = start;
        readRepetition();
        return std::move(event_);
    }

private:
    void readTexts() {
        event_.identifier = trim(readText(component_, "UID").value_or(""));
        event_.hasUID = !event_.identifier.empty();
        event_.title = readText(component_, "SUMMARY");
        event_.location = readText(component_, "LOCATION");
        event_.notes = readText(component_, "DESCRIPTION");
    }

    void readRepetition() {
        for (const ContentLine& line : component_.lines) {
            if (line.is("RRULE") || line.is("EXRULE")) {
                if (auto rule = readRuleOf(event_, line.value)) {
                    rule->isException = line.is("EXRULE");
                    auto& rules = rule->isException ? event_.exceptionRules : event_.rules;
                    rules.push_back(std::move(*rule));
                }
            } else if (line.is("RDATE")) {
                append(event_.rdates, readMoments(line, zones_));
            } else if (line.is("EXDATE")) {
                append(event_.exdates, readMoments(line, zones_));
            }
        }
    }

    [[nodiscard]] std::optional<Moment> moment(std::string_view name) const {
        return readMoment(component_, name, zones_);
    }

    const Component& component_;
    const ZoneFinder& zones_;
    StoredEvent event_;
};

} // namespace

std::optional<StoredEvent> readEvent(const Component& component, const ZoneFinder& zones) {
    return EventReader{component, zones}.read();
}

StoredEvent readSeries(const Component& component, const Moment& start, const ZoneFinder& zones) {
    return EventReader{component, zones}.readSeries(start);
}

} // namespace velmiro::local
