#pragma once

#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmiro::test {

/// Resets the replaced methods of Foundation. The call also makes the linker include them, as
/// nothing else refers to them.
void resetFoundation();

/// The state behind the stand-ins for EventKit and Contacts, one for the whole process: the data,
/// as ports of another platform; a journal of the calls; and the failures to inject.
///
/// Calls are named by their selectors ("saveReminder:commit:error:"), properties by their names
/// ("title"; of calendars "calendar.title", of contacts "contact.givenName").
class StandIn {
public:
    static StandIn& shared();

    /// Restores the initial state: the data are the user's files, nothing fails, and the journal is
    /// empty.
    void reset();

    // The data.

    std::shared_ptr<EventDatabase> database;
    std::function<std::unique_ptr<ContactStore>()> openContacts;
    std::optional<int> contactsStatus; ///< else the status of the files
    static int filesContactsStatus();

    /// The parts of a due date, instead of those of its instant, by the reminder's identifier.
    struct DueParts {
        std::optional<int> year, month, day, hour, minute;
        bool withCalendar = true;
        std::string zone; ///< the calendar's time zone; if empty, the user's
    };
    std::map<std::string, DueParts> dueParts;
    std::set<std::string> eventIdentifiers; ///< of items that can be found but are not reminders
    std::string currentCalendar;            ///< the identifier of the user's calendar
    bool isMultiThreaded;                   ///< whether Foundation knows of other threads

    // The failures, by call.

    std::map<std::string, std::string> raises; ///< an exception with this reason
    std::map<std::string, std::string> errors; ///< NO, or nil, and an error with this description
    std::set<std::string> refusals;            ///< NO, or nil, without an error
    /// Properties that are nil, of all items or of one: "title", "title milk".
    std::set<std::string> nils;

    /// Completes a fetch by calling its argument, which it may also keep, drop or call repeatedly.
    std::function<void(std::function<void()>)> deliver;
    bool completesWithNil = false;

    // Operations on the data, with failures as text.

    struct Saved {
        std::string identifier;
        std::string problem; ///< empty if there was none
    };
    Saved save(const NewEvent& event, const Calendar& calendar);
    Saved save(const NewReminder& reminder, const Calendar& list);
    Saved complete(const std::string& identifier);

    // The calls.

    /// Returns the recorded calls, each followed by its arguments.
    [[nodiscard]] std::vector<std::string> journal() const;
    void clearJournal();
    void note(std::string call);
    /// Returns how often this was called, or this property read, of any item.
    [[nodiscard]] int countOf(const std::string& call) const;
    /// Returns the names of all calls; a property of an item also as "title milk".
    [[nodiscard]] std::set<std::string> allCalled() const;
    void count(const std::string& call);

private:
    StandIn() { reset(); }

    mutable std::mutex mutex_;
    std::vector<std::string> journal_;
    std::map<std::string, int> counts_;
};

/// Removes the creation of the store from a journal: both statuses, and then its initializer.
std::vector<std::string> withoutStoreCreation(std::vector<std::string> journal);

} // namespace velmiro::test
