#include "velmiro_mcp/platform/local/LocalStores.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/platform/local/calendars/CalendarFiles.hpp"
#include "velmiro_mcp/platform/local/calendars/OccurrenceList.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"
#include "velmiro_mcp/platform/local/editing/EventText.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderText.hpp"
#include "velmiro_mcp/platform/local/files/FileCreation.hpp"
#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"
#include "velmiro_mcp/platform/local/files/Random.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace velmiro::local {
namespace {

Calendar calendarOf(const Collection& collection) {
    return {collection.folder, collection.title};
}

/// How messages speak of all calendars, and of one.
std::string nameOf(EntityType type) {
    return type == EntityType::event ? "the calendars" : "the reminders";
}

std::string nameOf(EntityType type, const std::string& title) {
    return (type == EntityType::event ? "the calendar ‘" : "the list ‘") + title + "’";
}

PlatformError cannotWrite(const std::string& what, const std::error_code& error) {
    return PlatformError{what + " cannot be written: " + error.message()};
}

PlatformError cannotRead(const std::string& what, const std::error_code& error) {
    return PlatformError{what + " cannot be read: " + error.message()};
}

/// Does what reads `what`, and has its failure speak of that.
template <typename Read>
auto reading(const std::string& what, const Read& read) {
    try {
        return read();
    } catch (const std::system_error& error) {
        throw cannotRead(what, error.code());
    }
}

Instant now() {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

/// Adds a file for a new item, which `textFor` writes, given the UID; gives back the UID.
template <typename TextFor>
std::string addItem(EntityType type, const Collection& collection, const TextFor& textFor) {
    for (;;) {
        std::string uid = randomUUID();
        const std::error_code error = createFile(collection.path, uid + ".ics", textFor(uid));
        if (!error) {
            return uid;
        }
        if (error != std::errc::file_exists) {
            throw cannotWrite(nameOf(type, collection.title), error);
        }
    }
}

/// Where an item is, as long as nobody moves it.
std::string storedAt(const Collection& collection, const std::string& item) {
    return collection.folder + "/" + item;
}

Reminder recordOf(const StoredReminder& reminder, const std::string& list,
                  const std::string& storedAt, UserClock& clock) {
    return {reminder.identifier, reminder.title,           list,           reminder.completed,
            reminder.priority,   dueDate(reminder, clock), reminder.notes, storedAt};
}

bool isWanted(const ReminderQuery& query, const StoredReminder& reminder, UserClock& clock) {
    if (query.includeCompleted) {
        return true;
    }
    if (!reminder.isOpen() || !query.dueBefore) {
        return reminder.isOpen();
    }
    const auto due = dueDate(reminder, clock);
    return due && *due < *query.dueBefore;
}

/// Calendars as folders of files. The folder of a calendar is its identifier.
class LocalEventDatabase final : public EventDatabase {
public:
    AuthorizationStatus authorizationStatus(EntityType type) override {
        return root(type).isAccessible() ? AuthorizationStatus::fullAccess
                                         : AuthorizationStatus::denied;
    }

    std::vector<Calendar> calendars(EntityType type) override {
        std::vector<Calendar> found;
        for (const Collection& collection : collections(type)) {
            found.push_back(calendarOf(collection));
        }
        return found;
    }

    std::optional<Calendar> defaultCalendarForNewEvents() override {
        return firstWritable(EntityType::event);
    }

    std::optional<Calendar> defaultListForNewReminders() override {
        return firstWritable(EntityType::reminder);
    }

    std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) override {
        OccurrenceList list;
        UserClock clock;
        forEachFile(EntityType::event, calendar, [&](const Place& place, const FilePointer& file) {
            const std::shared_ptr<const std::vector<StoredEvent>> events{file, &file->events};
            WorkBudget budget{stepsOfFile(events->size())};
            const auto found = occurrences(*events, {start, end}, clock, budget);
            list.add(found, events, place.collection.title);
            return true;
        });
        return list.take();
    }

    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        const auto collection = collectionOf(EntityType::event, calendar);
        return addItem(EntityType::event, collection,
                       [&](const std::string& uid) { return eventFileText(event, uid, now()); });
    }

    void fetchReminders(const ReminderQuery& query, RemindersFound found) override {
        std::vector<Reminder> reminders;
        UserClock clock;
        forEachFile(EntityType::reminder, query.list,
                    [&](const Place& place, const FilePointer& file) {
                        for (const StoredReminder& reminder : file->reminders) {
                            if (reminders.size() < query.most && reminder.isListed() &&
                                isWanted(query, reminder, clock)) {
                                reminders.push_back(recordOf(reminder, place.collection.title,
                                                             storedAt(place.collection, place.item),
                                                             clock));
                            }
                        }
                        return reminders.size() < query.most;
                    });
        found(std::move(reminders));
    }

    std::optional<Reminder> reminder(const std::string& identifier) override {
        const auto found = theOne(identifier);
        if (!found) {
            return std::nullopt;
        }
        UserClock clock;
        return recordOf(found->file->reminders[found->index], found->collection.title,
                        local::storedAt(found->collection, found->item), clock);
    }

    std::string saveReminder(const NewReminder& reminder, const Calendar& list) override {
        const auto collection = collectionOf(EntityType::reminder, list);
        return addItem(EntityType::reminder, collection, [&](const std::string& uid) {
            return reminderFileText(reminder, uid, now());
        });
    }

    bool completeReminder(const std::string& identifier, const std::string& storedAt) override {
        // Whoever changes the file in the same moment goes first, but not for ever.
        constexpr int tries = 100;
        for (int attempt = 0; attempt < tries; ++attempt) {
            const auto found = theOne(identifier);
            if (!found) {
                return false;
            }
            if (!storedAt.empty() && local::storedAt(found->collection, found->item) != storedAt) {
                throw severalReminders();
            }
            if (complete(*found, identifier)) {
                return true;
            }
        }
        throw PlatformError{"another program keeps changing this reminder; nothing was saved"};
    }

private:
    static Vdir root(EntityType type) {
        return Vdir{dataFolder(type == EntityType::event ? "Calendars" : "Reminders")};
    }

    /// The root, made when this is its first use.
    static Vdir openRoot(EntityType type) {
        Vdir opened = root(type);
        opened.makeIfMissing(type == EntityType::event ? "Calendar" : "Reminders");
        return opened;
    }

    static std::vector<Collection> collections(EntityType type) {
        return reading(nameOf(type), [&] { return openRoot(type).collections(); });
    }

    static std::optional<Calendar> firstWritable(EntityType type) {
        return reading(nameOf(type), [&]() -> std::optional<Calendar> {
            const auto all = collections(type);
            const auto first = std::ranges::find_if(all, isWritableFolder, &Collection::path);
            return first == all.end() ? std::nullopt : std::optional{calendarOf(*first)};
        });
    }

    /// The collection of a calendar; none when it is gone.
    static std::optional<Collection> collectionIfThere(EntityType type, const Calendar& calendar) {
        return reading(nameOf(type, calendar.title),
                       [&] { return openRoot(type).collection(calendar.identifier); });
    }

    /// Where a file was found; valid while it is being visited.
    struct Place {
        const Collection& collection;
        const std::string& item;
    };
    using FilePointer = std::shared_ptr<const CalendarFile>;

    /// Visits the files of a calendar, or of all, in the store's order, until a visit gives false.
    template <typename Visit>
    void forEachFile(EntityType type, const Calendar* calendar, const Visit& visit) {
        reading(nameOf(type), [&] { files_.refresh(); });
        std::vector<Collection> wanted;
        if (calendar == nullptr) {
            wanted = collections(type);
        } else if (auto one = collectionIfThere(type, *calendar)) {
            wanted.push_back(std::move(*one));
        }
        for (const Collection& collection : wanted) {
            const auto visitFile = [&](const std::string& item, const FilePointer& file) {
                return visit(Place{collection, item}, file);
            };
            const std::string name = nameOf(type, collection.title);
            if (collection.error) {
                throw cannotRead(name, collection.error);
            }
            if (!reading(name, [&] { return files_.visit(collection, visitFile); })) {
                return;
            }
        }
    }

    static Collection collectionOf(EntityType type, const Calendar& calendar) {
        auto collection = collectionIfThere(type, calendar);
        if (!collection) {
            throw cannotWrite(nameOf(type, calendar.title),
                              std::make_error_code(std::errc::no_such_file_or_directory));
        }
        return *std::move(collection);
    }

    struct ReminderPosition {
        Collection collection;
        std::string item;
        FilePointer file;
        std::size_t index; ///< among the reminders of the file
    };

    /// The reminder with this identifier. Throws PlatformError when there is another one.
    std::optional<ReminderPosition> theOne(const std::string& identifier) {
        std::optional<ReminderPosition> found;
        const auto take = [&](const Place& place, const FilePointer& file) {
            const auto index = indexOf(*file, identifier);
            if (index && !found) {
                found = {place.collection, place.item, file, *index};
            } else if (index && !isSameFile(*found, place)) {
                throw severalReminders();
            }
            return true;
        };
        forEachFile(EntityType::reminder, nullptr, take);
        return found;
    }

    /// Whether two links lead to one file.
    static bool isSameFile(const ReminderPosition& found, const Place& place) {
        return stampOf(found.collection.path + "/" + found.item) ==
               stampOf(place.collection.path + "/" + place.item);
    }

    static PlatformError severalReminders() {
        return PlatformError{"more than one reminder has this id"};
    }

    /// Throws PlatformError when there are several in the file.
    static std::optional<std::size_t> indexOf(const CalendarFile& file,
                                              const std::string& identifier) {
        std::optional<std::size_t> found;
        for (std::size_t index = 0; index < file.reminders.size(); ++index) {
            const StoredReminder& reminder = file.reminders[index];
            if (!reminder.isListed() || reminder.identifier != identifier) {
                continue;
            }
            if (found) {
                throw severalReminders();
            }
            found = index;
        }
        return found;
    }

    /// False when the file is not what it was a moment ago.
    bool complete(const ReminderPosition& place, const std::string& identifier) {
        const std::string name = nameOf(EntityType::reminder, place.collection.title);
        const std::string path = place.collection.path + "/" + place.item;
        const auto bytes = reading(name, [&] { return readRegularFile(path, largestItem); });
        if (!bytes) {
            return false;
        }
        const auto index = indexOf(files_.parse(*bytes, place.collection, place.item), identifier);
        if (!index) {
            return false;
        }
        const Completion change = completed(*bytes, *index, now(), files_.zones());
        // The next one is there before this one is done, and goes only when this one is known not
        // to be: better twice than not at all.
        const std::string next = place.collection.path + "/" + change.nextUID + ".ics";
        if (change.next) {
            if (const std::error_code error =
                    createFile(place.collection.path, change.nextUID + ".ics", *change.next)) {
                throw cannotWrite(name, error);
            }
        }
        const Replacement replacement = replaceFile(path, *bytes, change.text);
        if (replacement.end == Replacement::End::unknown) {
            throw unknownEnd(name, replacement);
        }
        const bool isDone = replacement.end == Replacement::End::done;
        if (!isDone && change.next && unlink(next.c_str()) != 0 && errno != ENOENT) {
            throw PlatformError{cannotWrite(name, lastError()).what() +
                                std::string{". The reminder is not completed, but the next one of "
                                            "its series was added"}};
        }
        if (replacement.end == Replacement::End::failed) {
            throw cannotWrite(name, replacement.error);
        }
        return isDone;
    }

    static PlatformError unknownEnd(const std::string& name, const Replacement& replacement) {
        std::string text = cannotWrite(name, replacement.error).what();
        text += ". Whether the reminder is completed now cannot be told: look before trying again";
        if (!replacement.kept.empty()) {
            text += "; the other version of its file is kept beside it as " + replacement.kept;
        }
        return PlatformError{text};
    }

    CalendarFiles files_;
};

} // namespace

std::unique_ptr<EventDatabase> openCalendarFolders() {
    return std::make_unique<LocalEventDatabase>();
}

} // namespace velmiro::local
