#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/calendars/Versions.hpp"
#include "velmiro_mcp/platform/local/zones/FileZones.hpp"

#include <set>

namespace velmiro::local {
namespace {

/// Assigns identifiers to items without a UID: the file's name to the first, then with a number.
class FallbackIdentifiers {
public:
    explicit FallbackIdentifiers(const std::string& file) : file_{MCPStdio::repairUTF8(file)} {}

    template <typename Item>
    void assignTo(Item& item) {
        if (!item.hasUID) {
            ++given_;
            item.identifier = given_ == 1 ? file_ : file_ + "#" + std::to_string(given_);
        }
    }

private:
    std::string file_;
    int given_ = 0;
};

class FileReader {
public:
    FileReader(const std::string& name, ZoneCatalogue& catalogue, WorkBudget& budget)
        : identifiers_{name},
          zones_{catalogue, budget} {}

    /// Reads the zones first, because a component may name one that comes after it.
    void read(const std::vector<Component>& components) {
        zones_.learn(components);
        const ZoneFinder finder = zones_.finder();
        for (const Component& component : components) {
            if (component.is("VCALENDAR")) {
                read(component.parts);
            } else if (!component.complete) {
                continue;
            } else if (component.is("VEVENT")) {
                if (auto event = readEvent(component, finder)) {
                    identifiers_.assignTo(*event);
                    file_.events.push_back(std::move(*event));
                    eventComponents_.push_back(&component);
                }
            } else if (component.is("VTODO")) {
                file_.reminders.push_back(readReminder(component, finder));
                identifiers_.assignTo(file_.reminders.back());
                reminderComponents_.push_back(&component);
            }
        }
    }

    CalendarFile take() {
        dropSupersededEvents();
        markSupersededReminders();
        return std::move(file_);
    }

private:
    void dropSupersededEvents() {
        std::vector<StoredEvent>& events = file_.events;
        std::vector<ItemVersion> versions;
        for (std::size_t index = 0; index < events.size(); ++index) {
            const StoredEvent& event = events[index];
            versions.push_back({event.hasUID ? event.identifier : std::string_view{},
                                event.recurrenceID, eventComponents_[index]});
        }
        const std::vector<bool> superseded = supersededVersions(versions);
        const std::set<std::string> cancelled = cancelledEvents(superseded);
        std::size_t index = 0;
        std::erase_if(events, [&](const StoredEvent& event) {
            return superseded[index++] || !event.hasStart ||
                   (event.hasUID && cancelled.contains(event.identifier));
        });
    }

    /// Returns the UIDs of the events that a later version cancels as a whole; their overrides are
    /// cancelled with them. A cancelled event that is its only version is listed.
    [[nodiscard]] std::set<std::string> cancelledEvents(const std::vector<bool>& superseded) const {
        std::set<std::string> withOlderVersions;
        std::set<std::string> cancelled;
        for (std::size_t index = 0; index < file_.events.size(); ++index) {
            const StoredEvent& event = file_.events[index];
            if (!event.hasUID || event.recurrenceID) {
                continue;
            }
            if (superseded[index]) {
                withOlderVersions.insert(event.identifier);
            } else if (event.cancelled) {
                cancelled.insert(event.identifier);
            }
        }
        std::erase_if(cancelled,
                      [&](const std::string& uid) { return !withOlderVersions.contains(uid); });
        return cancelled;
    }

    void markSupersededReminders() {
        std::vector<StoredReminder>& reminders = file_.reminders;
        std::vector<ItemVersion> versions;
        for (std::size_t index = 0; index < reminders.size(); ++index) {
            const StoredReminder& reminder = reminders[index];
            const bool isWhole = reminder.hasUID && !reminder.isOverride;
            versions.push_back({isWhole ? reminder.identifier : std::string_view{}, std::nullopt,
                                reminderComponents_[index]});
        }
        const std::vector<bool> superseded = supersededVersions(versions);
        for (std::size_t index = 0; index < reminders.size(); ++index) {
            reminders[index].isSuperseded = superseded[index];
        }
    }

    FallbackIdentifiers identifiers_;
    FileZones zones_;
    CalendarFile file_;
    std::vector<const Component*> eventComponents_;
    std::vector<const Component*> reminderComponents_;
};

void collectReminders(const std::vector<Component>& components, const Component* calendar,
                      std::vector<ReminderComponent>& found) {
    for (const Component& component : components) {
        if (component.is("VCALENDAR")) {
            collectReminders(component.parts, &component, found);
        } else if (component.is("VTODO") && component.complete) {
            found.push_back({&component, calendar});
        }
    }
}

std::size_t memoryOf(const std::optional<std::string>& text) {
    return text ? text->capacity() : 0;
}

std::size_t memoryOf(const StoredEvent& event) {
    constexpr std::size_t listsOfRule = 256;
    return sizeof event + event.identifier.capacity() + memoryOf(event.title) +
           memoryOf(event.location) + memoryOf(event.notes) +
           (event.rules.size() + event.exceptionRules.size()) *
               (sizeof(RecurrenceRule) + listsOfRule) +
           (event.rdates.size() + event.exdates.size()) * sizeof(MomentOrPeriod);
}

std::size_t memoryOf(const StoredReminder& reminder) {
    return sizeof reminder + reminder.identifier.capacity() + memoryOf(reminder.title) +
           memoryOf(reminder.notes);
}

} // namespace

CalendarFile readCalendarFile(std::string bytes, const std::string& name, ZoneCatalogue& zones) {
    constexpr std::uint64_t stepsOfAnyFile = 500'000; // about twenty zones with their whole history
    const std::string text = unfoldedText(std::move(bytes));
    // Looking up a zone costs steps. A larger file can name more zones, so it may take more steps.
    WorkBudget budget{stepsOfAnyFile + text.size()};
    const std::vector<Component> components = readComponents(text);
    FileReader reader{name, zones, budget};
    reader.read(components);
    CalendarFile file = reader.take();
    file.steps = budget.spent();
    return file;
}

std::vector<ReminderComponent> reminderComponents(const std::vector<Component>& components) {
    std::vector<ReminderComponent> found;
    collectReminders(components, nullptr, found);
    return found;
}

std::size_t memoryOf(const CalendarFile& file) {
    std::size_t memory = sizeof file;
    for (const StoredEvent& event : file.events) {
        memory += memoryOf(event);
    }
    for (const StoredReminder& reminder : file.reminders) {
        memory += memoryOf(reminder);
    }
    return memory;
}

} // namespace velmiro::local
