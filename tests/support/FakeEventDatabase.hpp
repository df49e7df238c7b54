#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmiro::test {

/// An event database in memory. It records every call, and a test sets its results and failures.
/// The journal outlives the database, which its store owns.
class FakeEventDatabase final : public EventDatabase {
public:
    struct Script {
        std::vector<std::string> journal;
        AuthorizationStatus eventAccess = AuthorizationStatus::fullAccess;
        std::vector<Calendar> eventCalendars{{"c1", "Home"}, {"c2", "Work"}};
        bool hasDefault = true;
        std::vector<Event> stored;
        std::string saveError; ///< if not empty, saving fails with this text
        NewEvent saved;        ///< the last one

        AuthorizationStatus reminderAccess = AuthorizationStatus::fullAccess;
        std::vector<Calendar> lists{{"l1", "Reminders"}, {"l2", "Work"}};
        bool hasDefaultList = true;
        std::vector<Reminder>
            reminders;             ///< the result of every fetch; also looked up by identifier
        NewReminder savedReminder; ///< the last one
        /// If set, receives the callback of a fetch, to call it at any time and on any thread.
        std::function<void(RemindersFound)> fetch;

        [[nodiscard]] bool changed() const {
            for (const std::string& call : journal) {
                if (call.starts_with("save") || call.starts_with("complete")) {
                    return true;
                }
            }
            return false;
        }
    };

    explicit FakeEventDatabase(std::shared_ptr<Script> script) : script_{std::move(script)} {}

    AuthorizationStatus authorizationStatus(EntityType type) override {
        script_->journal.push_back("authorizationStatus " + number(type));
        return type == EntityType::event ? script_->eventAccess : script_->reminderAccess;
    }
    std::vector<Calendar> calendars(EntityType type) override {
        script_->journal.push_back("calendars " + number(type));
        return type == EntityType::event ? script_->eventCalendars : script_->lists;
    }
    std::optional<Calendar> defaultCalendarForNewEvents() override {
        script_->journal.emplace_back("defaultCalendarForNewEvents");
        return script_->hasDefault ? std::optional{script_->eventCalendars.at(0)} : std::nullopt;
    }
    std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) override {
        script_->journal.push_back("events " + number(start) + " " + number(end) + " " +
                                   (calendar == nullptr ? "all" : calendar->identifier));
        return script_->stored;
    }
    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        script_->journal.push_back("saveEvent " + event.title + " in " + calendar.identifier);
        if (!script_->saveError.empty()) {
            throw PlatformError{script_->saveError};
        }
        script_->saved = event;
        return "new-id";
    }
    std::optional<Calendar> defaultListForNewReminders() override {
        script_->journal.emplace_back("defaultListForNewReminders");
        return script_->hasDefaultList ? std::optional{script_->lists.at(0)} : std::nullopt;
    }
    void fetchReminders(const ReminderQuery& query, RemindersFound found) override {
        script_->journal.push_back(std::string{"fetchReminders "} +
                                   (query.includeCompleted ? "all " : "open ") +
                                   (query.dueBefore ? number(*query.dueBefore) : "-") + " " +
                                   (query.list == nullptr ? "everywhere" : query.list->identifier));
        if (script_->fetch) {
            script_->fetch(std::move(found));
        } else {
            auto first = script_->reminders;
            first.resize(std::min(first.size(), query.most));
            found(std::move(first));
        }
    }
    std::optional<Reminder> reminder(const std::string& identifier) override {
        script_->journal.push_back("reminder " + identifier);
        for (const Reminder& one : script_->reminders) {
            if (one.identifier == identifier) {
                return one;
            }
        }
        return std::nullopt;
    }
    std::string saveReminder(const NewReminder& reminder, const Calendar& list) override {
        script_->journal.push_back("saveReminder " + reminder.title + " in " + list.identifier);
        if (!script_->saveError.empty()) {
            throw PlatformError{script_->saveError};
        }
        script_->savedReminder = reminder;
        return "new-id";
    }
    bool completeReminder(const std::string& identifier, const std::string& storedAt) override {
        script_->journal.push_back("completeReminder " + identifier +
                                   (storedAt.empty() ? "" : " at " + storedAt));
        if (!script_->saveError.empty()) {
            throw PlatformError{script_->saveError};
        }
        for (Reminder& one : script_->reminders) {
            if (one.identifier == identifier) {
                one.completed = true;
                return true;
            }
        }
        return false;
    }

private:
    static std::string number(EntityType type) { return std::to_string(static_cast<int>(type)); }
    static std::string number(Instant instant) {
        return std::to_string(instant.time_since_epoch() / std::chrono::seconds{1});
    }

    std::shared_ptr<Script> script_;
};

} // namespace velmiro::test
