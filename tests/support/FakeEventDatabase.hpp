#pragma once

#include "velmiro_mcp/platform/Platform.hpp"

#include <memory>
#include <string>
#include <vector>

namespace velmiro::test {

/// An event database in memory that writes down every call, and can be told what to give and when
/// to fail. The journal outlives the database, which its store owns.
class FakeEventDatabase final : public EventDatabase {
public:
    struct Script {
        std::vector<std::string> journal;
        AuthorizationStatus eventAccess = AuthorizationStatus::fullAccess;
        std::vector<Calendar> eventCalendars{{"c1", "Home"}, {"c2", "Work"}};
        bool hasDefault = true;
        std::vector<Event> stored;
        std::string saveError; ///< when not empty, saving fails with this text
        NewEvent saved;        ///< the last one

        [[nodiscard]] bool changed() const {
            for (const std::string& call : journal) {
                if (call.starts_with("save")) {
                    return true;
                }
            }
            return false;
        }
    };

    explicit FakeEventDatabase(std::shared_ptr<Script> script) : script_{std::move(script)} {}

    AuthorizationStatus authorizationStatus(EntityType type) override {
        script_->journal.push_back("authorizationStatus " + number(type));
        return script_->eventAccess;
    }
    std::vector<Calendar> calendars(EntityType type) override {
        script_->journal.push_back("calendars " + number(type));
        return script_->eventCalendars;
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

private:
    static std::string number(EntityType type) { return std::to_string(static_cast<int>(type)); }
    static std::string number(Instant instant) {
        return std::to_string(instant.time_since_epoch() / std::chrono::seconds{1});
    }

    std::shared_ptr<Script> script_;
};

} // namespace velmiro::test
