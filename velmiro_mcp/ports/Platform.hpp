#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// The ports: what the application asks of the system it runs on, and no more.
///
/// Exactly one platform is linked into a program; the build list chooses it. Everything that can be
/// decided in plain C++ (sorting, cutting, wording, records) is decided above this header, once for
/// all systems. All text is valid UTF-8 in both directions.
namespace velmiro {

/// A point in time, in milliseconds since 1970-01-01T00:00:00Z.
using Instant = std::chrono::sys_time<std::chrono::milliseconds>;

/// What a calendar holds. The values are the platform's own numbers.
enum class EntityType { event = 0, reminder = 1 };

/// How far the user lets this program into a database. The values are the platform's own numbers.
enum class AuthorizationStatus {
    notDetermined = 0,
    restricted = 1,
    denied = 2,
    fullAccess = 3,
    writeOnly = 4,
};

/// A calendar or a reminder list.
struct Calendar {
    std::string identifier; ///< meaningful to the database that gave it, to nobody else
    std::string title;
};

/// One event, or one occurrence of a repeating one, as the database holds it.
struct Event {
    std::string identifier; ///< shared by all occurrences of a series
    std::optional<std::string> title;
    std::optional<Instant> start;
    std::optional<Instant> end; ///< of an all-day event: when the platform says its last day ends
    bool allDay = false;
    std::optional<std::string> calendar; ///< the title of its calendar
    std::optional<std::string> location;
    std::optional<std::string> notes;
};

/// What is needed to make an event; `start` is before `end`. An all-day one covers the whole days
/// that `wholeDays` makes of the two.
struct NewEvent {
    std::string title;
    Instant start;
    Instant end;
    bool allDay = false;
    std::optional<std::string> location;
    std::optional<std::string> notes;
};

/// One reminder, as the database holds it.
struct Reminder {
    std::string identifier;
    std::optional<std::string> title;
    std::optional<std::string> list; ///< the title of its list
    bool completed = false;
    int priority = 0; ///< 0 none, 1 high … 9 low
    std::optional<Instant> due;
    std::optional<std::string> notes;
    std::string place{}; ///< where the database keeps it, meaningful to it alone; may be empty
};

/// What is needed to make a reminder.
struct NewReminder {
    std::string title;
    std::optional<std::string> notes;
    int priority = 0;           ///< 0 to 9
    std::optional<Instant> due; ///< a whole minute
};

/// Which reminders are wanted.
struct ReminderQuery {
    bool includeCompleted = false;    ///< then all, whenever they are due
    std::optional<Instant> dueBefore; ///< else the open ones due before this, or all open ones
    const Calendar* list = nullptr;   ///< of this list, or of all
    /// No more than these, the first in the database's order: of thousands of completed reminders
    /// the rest is not even converted.
    std::size_t most = std::numeric_limits<std::size_t>::max();
};

/// Takes what a fetch found; nothing when the platform gives no answer.
using RemindersFound = std::function<void(std::optional<std::vector<Reminder>>)>;

/// The platform could not do what it was asked; `what()` is its own description, fit for the agent.
class PlatformError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The platform's calendar database. Its owner calls one operation at a time, on any thread; an
/// operation may block that thread. Nothing a call returns refers to the database.
class EventDatabase {
public:
    EventDatabase() = default;
    EventDatabase(const EventDatabase&) = delete;
    EventDatabase& operator=(const EventDatabase&) = delete;
    virtual ~EventDatabase() = default;

    /// Asks the platform, never the user.
    virtual AuthorizationStatus authorizationStatus(EntityType type) = 0;

    /// All calendars that hold items of `type`, in the database's own order.
    virtual std::vector<Calendar> calendars(EntityType type) = 0;

    /// Where a new event goes when no calendar was named; nothing when there is no such calendar.
    virtual std::optional<Calendar> defaultCalendarForNewEvents() = 0;

    /// The events of `calendar`, or of all calendars when it is null, that overlap the time from
    /// `start` up to but not including `end`; in no particular order. Items that cannot be read are
    /// passed over.
    virtual std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) = 0;

    /// The same for reminders and their lists.
    virtual std::optional<Calendar> defaultListForNewReminders() = 0;

    /// Adds an event to `calendar` and commits it; gives back its identifier.
    /// Throws PlatformError when it cannot be stored just as given; then nothing was stored.
    virtual std::string saveEvent(const NewEvent& event, const Calendar& calendar) = 0;

    /// Looks for reminders and hands them to `found`, in the database's own order: exactly once, on
    /// any thread, perhaps before this returns. An open reminder without a due date is due before
    /// no date. Items that cannot be read are passed over. The owner may give up a fetch that takes
    /// too long, and use the database again: an answer that still comes does no harm.
    virtual void fetchReminders(const ReminderQuery& query, RemindersFound found) = 0;

    /// The reminder with this identifier; none when there is none, or when it is an event's. Throws
    /// PlatformError when there are several.
    virtual std::optional<Reminder> reminder(const std::string& identifier) = 0;

    /// Adds a reminder to `list` and commits it; gives back its identifier. Throws PlatformError
    /// when it cannot be stored just as given; then nothing was stored.
    virtual std::string saveReminder(const NewReminder& reminder, const Calendar& list) = 0;

    /// Marks a reminder completed now, also one that is already, and commits it. False when there
    /// is no such reminder (any more). Throws PlatformError when there are several, when it is not
    /// at `place` any more (unless that is empty), and when it cannot be stored; then nothing was
    /// changed, unless the error says that this cannot be told.
    virtual bool completeReminder(const std::string& identifier, const std::string& place = {}) = 0;
};

/// The database of the user who runs the program. Opening it touches nothing yet.
std::unique_ptr<EventDatabase> openEventDatabase();

/// The user's Application Support folder, without a slash at the end; worked out afresh each time.
std::string applicationSupportDirectory();

/// The first `count` user-perceived characters of `text` (all of it when it has no more).
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Whether two names are the same to the user: case does not count, the user's language does.
bool equalIgnoringCase(std::string_view left, std::string_view right);

/// A date for the user to read, in the user's language and time zone, in the system's medium style.
std::string localizedDate(Instant instant);

/// The same, followed by the time of day in the system's short style.
std::string localizedDateTime(Instant instant);

/// The program that runs automation scripts, by its full path.
std::string osascriptPath();

/// Starts a program with the arguments given, its own name first, and gives back its process, which
/// the caller reaps. The program gets this process's standard input, `output` and `error` as its
/// three descriptors and no others, whatever else is open or is being opened meanwhile; its signals
/// are unblocked and act by default, its soft limit of descriptors is the one this process was
/// started with; environment and working folder are ours. Throws std::system_error when it does not
/// come to run. Safe to use from several threads at once.
///
/// However this process ends, the program does not run on for longer than `longest` after that. The
/// calling thread must stay until the program is reaped: one system takes its end for the
/// process's.
pid_t startProgram(const std::string& path, std::vector<std::string> arguments, int output,
                   int error, std::chrono::seconds longest = std::chrono::minutes{1});

/// A descriptor that is readable from the end of a child on, which need not be reaped before; to be
/// closed by the caller. Negative when none can be had.
int openExitDescriptor(pid_t child) noexcept;

/// Does `work`, and returns when it is done. Where a system brings a program its news (that another
/// one changed a calendar, say) by its main thread, that thread takes them meanwhile, and `work` is
/// done on another. Called by the main thread, once.
void runBesideMainQueue(const std::function<void()>& work);

/// How far the user lets this program into the contacts. The values are the platform's own numbers.
enum class ContactsAuthorizationStatus {
    notDetermined = 0,
    restricted = 1,
    denied = 2,
    authorized = 3,
    limited = 4,
};

/// A person or a company of the address book. A text that is not there is empty.
struct Contact {
    std::string identifier;
    std::string givenName;
    std::string familyName;
    std::string organization;
    std::vector<std::string> emails; ///< in the contact's order, like the numbers
    std::vector<std::string> phones;
};

/// The user's address book. Each call of a tool opens one of its own and uses it on one thread at a
/// time, which an operation may block.
class ContactStore {
public:
    ContactStore() = default;
    ContactStore(const ContactStore&) = delete;
    ContactStore& operator=(const ContactStore&) = delete;
    virtual ~ContactStore() = default;

    /// The contacts whose name the platform finds in `query`, in the store's own order; each person
    /// once. Throws PlatformError when the address book cannot be read.
    virtual std::vector<Contact> contactsMatchingName(const std::string& query) = 0;
};

/// Asks the platform, never the user. May block the thread.
ContactsAuthorizationStatus contactsAuthorizationStatus();

/// The address book of the user who runs the program. Opening it touches nothing yet.
std::unique_ptr<ContactStore> openContactStore();

} // namespace velmiro
