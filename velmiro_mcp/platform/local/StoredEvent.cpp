#include "velmiro_mcp/platform/local/StoredEvent.hpp"

#include "MCPStdio/UTF8.hpp"

#include <functional>
#include <map>

namespace velmiro::local {
namespace {

/// Finds the zones of one file: what its VTIMEZONEs describe goes before what the system knows.
class FileZones {
public:
    FileZones(ZoneCatalogue& catalogue, WorkBudget& budget)
        : catalogue_{catalogue},
          budget_{budget} {}

    void learn(const Component& component) {
        const ContentLine* const name = component.line("TZID");
        if (component.complete && name != nullptr) {
            components_.insert_or_assign(name->value, &component);
        }
    }

    std::shared_ptr<const Zone> find(std::string_view name) {
        if (const auto own = components_.find(name); own != components_.end()) {
            if (auto zone = catalogue_.described(*own->second, budget_)) {
                return zone;
            }
        }
        return catalogue_.named(name, budget_);
    }

private:
    ZoneCatalogue& catalogue_;
    WorkBudget& budget_;
    std::map<std::string_view, const Component*> components_;
};

/// A rule of dates does not go into times of day; one that repeats more often than daily has no
/// meaning for them.
std::optional<RecurrenceRule> readRuleOf(const StoredEvent& event, std::string_view text) {
    auto rule = readRule(std::string{text});
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

void append(std::vector<AddedTime>& times, std::vector<AddedTime> more) {
    times.insert(times.end(), more.begin(), more.end());
}

class EventReader {
public:
    EventReader(const Component& component, const ZoneFinder& zones)
        : component_{component},
          zones_{zones} {}

    /// Nothing when the component says of no time at all.
    std::optional<StoredEvent> read() {
        readText();
        event_.end = moment("DTEND");
        if (const ContentLine* line = component_.line("DURATION")) {
            event_.duration = readDuration(std::string{line->value});
        }
        if (const ContentLine* line = component_.line("STATUS")) {
            event_.cancelled = sameWord(line->value, "CANCELLED");
        }
        if (const ContentLine* line = component_.line("RECURRENCE-ID")) {
            event_.replaces = readMoment(*line, zones_);
            event_.andFuture = sameWord(line->parameter("RANGE"), "THISANDFUTURE");
        }
        auto start = moment("DTSTART");
        if (!start && event_.cancelled) {
            start = event_.replaces;
        }
        if (!start) {
            return std::nullopt;
        }
        event_.start = std::move(*start);
        if (!event_.replaces) {
            readRepetition();
        }
        return std::move(event_);
    }

private:
    void readText() {
        event_.identifier = text("UID").value_or("");
        event_.hasUID = !event_.identifier.empty();
        event_.title = text("SUMMARY");
        event_.location = text("LOCATION");
        event_.notes = text("DESCRIPTION");
    }

    void readRepetition() {
        for (const ContentLine& line : component_.lines) {
            if (line.is("RRULE") || line.is("EXRULE")) {
                if (auto rule = readRuleOf(event_, line.value)) {
                    auto& rules = line.is("RRULE") ? event_.rules : event_.exceptionRules;
                    rules.push_back(std::move(*rule));
                }
            } else if (line.is("RDATE")) {
                append(event_.added, readTimes(line, zones_));
            } else if (line.is("EXDATE")) {
                append(event_.removed, readTimes(line, zones_));
            }
        }
    }

    [[nodiscard]] std::optional<std::string> text(std::string_view name) const {
        const ContentLine* line = component_.line(name);
        return line != nullptr ? std::optional{unescapedText(line->value)} : std::nullopt;
    }

    [[nodiscard]] std::optional<Moment> moment(std::string_view name) const {
        const ContentLine* line = component_.line(name);
        return line != nullptr ? readMoment(*line, zones_) : std::nullopt;
    }

    const Component& component_;
    const ZoneFinder& zones_;
    StoredEvent event_;
};

class FileReader {
public:
    FileReader(const std::string& name, ZoneCatalogue& catalogue, WorkBudget& budget)
        : name_{name},
          zones_{catalogue, budget},
          finder_{[this](std::string_view wanted) { return zones_.find(wanted); }} {}

    /// Zones first, for a component may name one that is described after it.
    void read(const std::vector<Component>& components) {
        for (const Component& component : components) {
            if (component.is("VTIMEZONE")) {
                zones_.learn(component);
            }
        }
        for (const Component& component : components) {
            if (component.is("VCALENDAR")) {
                read(component.parts);
            } else if (component.is("VEVENT") && component.complete) {
                add(component);
            }
        }
    }

    std::vector<StoredEvent> take() { return std::move(events_); }

private:
    void add(const Component& component) {
        auto event = EventReader{component, finder_}.read();
        if (!event) {
            return;
        }
        if (!event->hasUID) {
            event->identifier = name_;
            if (++withoutUID_ > 1) {
                event->identifier += '#';
                event->identifier += std::to_string(withoutUID_);
            }
        }
        events_.push_back(std::move(*event));
    }

    const std::string& name_;
    FileZones zones_;
    ZoneFinder finder_;
    std::vector<StoredEvent> events_;
    int withoutUID_ = 0;
};

} // namespace

EventFile readEventFile(std::string bytes, const std::string& name, ZoneCatalogue& zones) {
    constexpr std::uint64_t stepsOfAnyFile = 100'000;
    const std::string text = unfoldedText(std::move(bytes));
    // Zones cost something to look up, so a larger file, which can hold more of them, may do more.
    WorkBudget budget{stepsOfAnyFile + text.size()};
    const std::vector<Component> components = readComponents(text);
    const std::string readableName = MCPStdio::repairUTF8(name);
    FileReader reader{readableName, zones, budget};
    reader.read(components);
    return {reader.take(), budget.spent()};
}

} // namespace velmiro::local
