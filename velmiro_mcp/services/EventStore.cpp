#include "velmiro_mcp/services/EventStore.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Continuation.hpp"
#include "MCPStdio/concurrency/Mutex.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/ports/LocalizedText.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <initializer_list>
#include <utility>

namespace velmiro {
namespace {

using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::Task;

constexpr std::size_t mostEvents = 200;
constexpr std::size_t mostReminders = 300;
constexpr std::size_t longestEventNotes = 500; // in characters as the user counts them
constexpr std::size_t longestReminderNotes = 300;

// Common clients close the connection at a reply of more than ten megabytes, and JSON within JSON
// can make seven bytes of one. Whoever sends one enormous invitation must not keep the other events
// from being read.
constexpr std::size_t mostText = std::size_t{1} << 20U;
constexpr std::size_t longestOfTooMuch = 1024; // of one text, if all together are more than that

/// The words for a type of items in messages.
struct Wording {
    std::string_view access;   ///< the section of the settings
    std::string_view calendar; ///< the container of such items
};

Wording wordingFor(EntityType type) {
    return type == EntityType::event ? Wording{"Calendars", "calendar"}
                                     : Wording{"Reminders", "list"};
}

std::string dateTextOrEmpty(const std::optional<Instant>& date) {
    return date ? dateText(*date) : std::string{};
}

void addIfNotEmpty(JSONValue& record, std::string_view key,
                   const std::optional<std::string>& text) {
    if (text && !text->empty()) {
        record.set(key, *text);
    }
}

void cutNotes(std::optional<std::string>& notes, std::size_t longest) {
    if (notes) {
        notes->resize(firstCharacters(*notes, longest).size());
    }
}

/// Cuts a text to at most that many bytes, and no character in two.
void cut(std::string& text, std::size_t longest) {
    std::size_t end = std::min(text.size(), longest);
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) {
        --end;
    }
    text.resize(end);
}

std::vector<std::string*> textsOf(std::string& identifier,
                                  std::initializer_list<std::optional<std::string>*> others) {
    std::vector<std::string*> texts{&identifier};
    for (std::optional<std::string>* const text : others) {
        if (*text) {
            texts.push_back(&**text);
        }
    }
    return texts;
}

std::vector<std::string*> textsOf(Event& event) {
    return textsOf(event.identifier,
                   {&event.title, &event.calendar, &event.location, &event.notes});
}

std::vector<std::string*> textsOf(Reminder& reminder) {
    return textsOf(reminder.identifier, {&reminder.title, &reminder.list, &reminder.notes});
}

/// Cuts the texts of items that are too much for one reply.
template <typename Item>
void limitText(std::vector<Item>& items) {
    std::size_t size = 0;
    for (Item& item : items) {
        for (const std::string* const text : textsOf(item)) {
            size += text->size();
        }
    }
    if (size <= mostText) {
        return;
    }
    for (Item& item : items) {
        for (std::string* const text : textsOf(item)) {
            cut(*text, longestOfTooMuch);
        }
    }
}

JSONValue eventRecord(const Event& event) {
    auto record = JSONValue::object({
        {"id", event.identifier},
        {"title", event.title.value_or("")},
        {"start", dateTextOrEmpty(event.start)},
        {"end", dateTextOrEmpty(event.end)},
        {"all_day", event.allDay},
        {"calendar", event.calendar.value_or("")},
    });
    addIfNotEmpty(record, "location", event.location);
    addIfNotEmpty(record, "notes", event.notes);
    return record;
}

/// Returns the records of the first events, sorted by start.
JSONValue recordsOf(std::vector<Event> events) {
    std::ranges::stable_sort(events, {}, &Event::start);
    events.resize(std::min(events.size(), mostEvents));
    for (Event& event : events) {
        cutNotes(event.notes, longestEventNotes);
    }
    limitText(events);
    auto records = JSONValue::array();
    for (const Event& event : events) {
        records.append(eventRecord(event));
    }
    return records;
}

JSONValue reminderRecord(const Reminder& reminder) {
    auto record = JSONValue::object({
        {"id", reminder.identifier},
        {"title", reminder.title.value_or("")},
        {"list", reminder.list.value_or("")},
        {"completed", reminder.completed},
        {"priority", reminder.priority},
    });
    if (reminder.due) {
        record.set("due", dateText(*reminder.due));
    }
    addIfNotEmpty(record, "notes", reminder.notes);
    return record;
}

JSONValue recordsOf(std::vector<Reminder> reminders) {
    for (Reminder& reminder : reminders) {
        cutNotes(reminder.notes, longestReminderNotes);
    }
    limitText(reminders);
    auto records = JSONValue::array();
    for (const Reminder& reminder : reminders) {
        records.append(reminderRecord(reminder));
    }
    return records;
}

MCPToolError noReminder(const std::string& identifier) {
    return MCPToolError{"no reminder with id " + identifier};
}

using Found = std::optional<std::vector<Reminder>>;

/// A fetch in progress and the coroutine that waits for it. It ends once, by its answer or at its
/// deadline. Shared by the database's callback and the watchdog; the later one finds nobody
/// waiting.
class PendingFetch {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Called once, before anything else.
    void begin(MCPStdio::Continuation<Found> waiting) {
        const MCPStdio::MutexLock lock{mutex_};
        waiting_.emplace(std::move(waiting));
    }

    void answer(Found found) {
        if (auto waiting = take()) {
            waiting->resume(std::move(found));
        }
    }
    void fail(std::exception_ptr error) {
        if (auto waiting = take()) {
            waiting->fail(std::move(error));
        }
    }
    [[nodiscard]] bool isWaiting() {
        const MCPStdio::MutexLock lock{mutex_};
        return waiting_.has_value();
    }
    /// Blocks the thread until the fetch has ended, and fails it at `deadline`.
    void expireAt(Time deadline) {
        {
            const MCPStdio::MutexLock lock{mutex_};
            while (waiting_ && std::chrono::steady_clock::now() < deadline) {
                ended_.waitUntil(mutex_, deadline);
            }
        }
        fail(std::make_exception_ptr(
            MCPToolError{"Reminders did not answer in time. Try again later."}));
    }

private:
    using Waiting = std::optional<MCPStdio::Continuation<Found>>;

    /// Returns the waiting coroutine to the first caller, nullopt to all others.
    Waiting take() {
        const MCPStdio::MutexLock lock{mutex_};
        Waiting taken;
        if (waiting_) {
            taken.emplace(std::move(*waiting_));
            waiting_.reset();
            ended_.notifyOne();
        }
        return taken;
    }

    MCPStdio::Mutex mutex_;
    MCPStdio::Condition ended_;
    Waiting waiting_ MCPSTDIO_GUARDED_BY(mutex_);
};

} // namespace

EventStore& EventStore::shared() {
    static auto* const store = new EventStore{openEventDatabase()}; // outlives every thread
    return *store;
}

/// Throws unless the user granted full access. Asking for it is the host's business, never ours.
void EventStore::checkAccess(EntityType type) {
    if (store_->authorizationStatus(type) != AuthorizationStatus::fullAccess) {
        throw MCPToolError{"Velmiro has no full access to " + std::string{wordingFor(type).access} +
                           ". Ask the user to turn it on in Velmiro › Settings › Connectors."};
    }
}

/// Returns the first calendar with this title; nullopt if no name is given. Throws if none has it.
std::optional<Calendar> EventStore::calendarNamed(const std::optional<std::string>& name,
                                                  EntityType type) {
    if (!name) {
        return std::nullopt;
    }
    auto calendars = store_->calendars(type);
    std::string known;
    std::string_view separator;
    for (Calendar& calendar : calendars) {
        if (equalIgnoringCase(calendar.title, *name)) {
            return std::move(calendar);
        }
        known.append(std::exchange(separator, ", ")).append(calendar.title);
    }
    throw MCPToolError{"no " + std::string{wordingFor(type).calendar} + " named ‘" + *name +
                       "’. Known: " + known};
}

Task<JSONValue> EventStore::events(Instant start, Instant end,
                                   std::optional<std::string> calendarName) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::event);
    const auto calendar = calendarNamed(calendarName, EntityType::event);
    co_return recordsOf(store_->events(start, end, calendar ? &*calendar : nullptr));
}

Task<std::string> EventStore::createEvent(NewEvent event, std::optional<std::string> calendarName) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::event);
    auto calendar = calendarNamed(calendarName, EntityType::event);
    if (!calendar) {
        calendar = store_->defaultCalendarForNewEvents();
    }
    if (!calendar) {
        throw MCPToolError{"there is no calendar to add to"};
    }
    co_return store_->saveEvent(event, *calendar);
}

/// Waits for the database's callback. No answer counts as no reminders. The deadline is for a
/// database that never calls back: it would block the store, and the end of the program, forever.
///
/// This is a task of its own so that its caller goes on only when the database has returned from
/// the call, even if it called back earlier: operations must not overlap.
Task<std::vector<Reminder>> EventStore::fetchReminders(ReminderQuery query) {
    // Made here, where it may fail for want of memory. The timeout is captured by value: once the
    // fetch is answered, the store may be gone.
    const auto fetch = [this, query, timeout = fetchTimeout_,
                        pending = std::make_shared<PendingFetch>()](
                           MCPStdio::Continuation<Found> waiting) {
        pending->begin(std::move(waiting));
        try {
            store_->fetchReminders(query,
                                   [pending](Found found) { pending->answer(std::move(found)); });
            if (pending->isWaiting()) {
                const auto deadline = std::chrono::steady_clock::now() + timeout;
                MCPStdio::DispatchQueue::global().asyncBlocking(
                    [pending, deadline] { pending->expireAt(deadline); });
            }
        } catch (...) {
            pending->fail(std::current_exception());
        }
    };
    auto found = co_await MCPStdio::withContinuation<Found>(fetch);
    co_return std::move(found).value_or(std::vector<Reminder>{});
}

Task<JSONValue> EventStore::reminders(std::optional<std::string> listName, bool includeCompleted,
                                      std::optional<Instant> dueBefore) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::reminder);
    const auto list = calendarNamed(listName, EntityType::reminder);
    auto fetching =
        fetchReminders({includeCompleted, dueBefore, list ? &*list : nullptr, mostReminders});
    auto found = co_await std::move(fetching);
    co_return recordsOf(std::move(found));
}

Task<std::string> EventStore::createReminder(NewReminder reminder,
                                             std::optional<std::string> listName) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::reminder);
    auto list = calendarNamed(listName, EntityType::reminder);
    if (!list) {
        list = store_->defaultListForNewReminders();
    }
    if (!list) {
        throw MCPToolError{"there is no reminders list to add to"};
    }
    if (reminder.due) {
        reminder.due = std::chrono::floor<std::chrono::minutes>(*reminder.due);
    }
    co_return store_->saveReminder(reminder, *list);
}

Task<EventStore::ReminderTitle> EventStore::reminderTitle(std::string identifier) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::reminder);
    const auto reminder = store_->reminder(identifier);
    if (!reminder) {
        throw noReminder(identifier);
    }
    ReminderTitle found{reminder->title.value_or(""), reminder->storedAt};
    co_return found;
}

Task<void> EventStore::completeReminder(std::string identifier, std::string storedAt) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::reminder);
    if (!store_->completeReminder(identifier, storedAt)) {
        throw noReminder(identifier);
    }
}

} // namespace velmiro
