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

/// Has what replaces methods of Foundation begin anew; and be linked, for nothing else names it.
void resetFoundation();

/// What stands behind the stand-ins for EventKit and Contacts, one for the whole process: the data,
/// as ports of another platform; a journal of the calls; and how they are to go wrong.
///
/// Calls go by their selectors ("saveReminder:commit:error:"), properties by their names ("title";
/// of calendars "calendar.title", of contacts "contact.givenName").
class StandIn {
public:
    static StandIn& shared();

    /// As at the start: the data are the user's files, nothing goes wrong, nothing is in the
    /// journal.
    void reset();

    // The data.

    std::shared_ptr<EventDatabase> database;
    std::function<std::unique_ptr<ContactStore>()> openContacts;
    std::optional<int> contactsStatus; ///< else what the files give
    static int filesContactsStatus();

    /// The parts of a due date in place of those that its instant would have, by identifier.
    struct DueParts {
        std::optional<int> year, month, day, hour, minute;
        bool withCalendar = true;
        std::string zone; ///< that calendar's; else the user's
    };
    std::map<std::string, DueParts> dueParts;
    std::set<std::string> eventIdentifiers; ///< of items that are found by them and no reminders
    std::string currentCalendar;            ///< the identifier of the user's calendar
    bool isMultiThreaded;                   ///< whether Foundation knows of other threads

    // What goes wrong, by call.

    std::map<std::string, std::string> raises; ///< an exception with this reason
    std::map<std::string, std::string> errors; ///< NO, or nil, and an error with this description
    std::set<std::string> refusals;            ///< NO, or nil, without an error
    /// Properties that are nil, also those of one item alone: "title", "title milk".
    std::set<std::string> nils;

    /// How a fetch completes: it is given what completes it, and may keep, drop or repeat it.
    std::function<void(std::function<void()>)> deliver;
    bool completesWithNil = false;

    // What the data do, with failures as text.

    struct Saved {
        std::string identifier;
        std::string problem; ///< empty when there was none
    };
    Saved save(const NewEvent& event, const Calendar& calendar);
    Saved save(const NewReminder& reminder, const Calendar& list);
    Saved complete(const std::string& identifier);

    // What was called.

    /// Calls that the journal has; with arguments in their order behind each.
    [[nodiscard]] std::vector<std::string> journal() const;
    void clearJournal();
    void note(std::string call);
    /// How often this was called, or this property read, of whichever item.
    [[nodiscard]] int countOf(const std::string& call) const;
    /// All that was; a property of one item also as "title milk".
    [[nodiscard]] std::set<std::string> allCalled() const;
    void count(const std::string& call);

private:
    StandIn() { reset(); }

    mutable std::mutex mutex_;
    std::vector<std::string> journal_;
    std::map<std::string, int> counts_;
};

/// A journal without the making of the store: its initializer, after a look at both statuses.
std::vector<std::string> withoutMaking(std::vector<std::string> journal);

} // namespace velmiro::test
