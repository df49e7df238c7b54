#include "velmiro_mcp/platform/local/FoundReminder.hpp"

#include "velmiro_mcp/platform/local/CalendarErrors.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"
#include "velmiro_mcp/platform/local/files/FileCreation.hpp"
#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace velmiro::local {
namespace {

PlatformError severalReminders() {
    return PlatformError{"more than one reminder has this id"};
}

/// Throws PlatformError if several reminders of the file have this identifier.
std::optional<std::size_t> indexOf(const CalendarFile& file, const std::string& identifier) {
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

std::string pathOf(const Collection& collection, const std::string& item) {
    return collection.path + "/" + item;
}

/// Returns whether two links lead to one file.
bool isSameFile(const FoundReminder& found, const CalendarFolders::File& file) {
    return stampOf(pathOf(found.collection, found.item)) ==
           stampOf(pathOf(file.collection, file.item));
}

/// The file of the next reminder of a series. It is created before the reminder is completed, and
/// removed only if that is known to have failed: better the series twice than not at all.
class NextFile {
public:
    NextFile(const Collection& collection, std::string list, const NextReminder& next)
        : path_{pathOf(collection, next.uid + ".ics")},
          list_{std::move(list)} {
        if (const std::error_code error =
                createFile(collection.path, next.uid + ".ics", next.text)) {
            throw cannotWrite(list_, error);
        }
    }

    void remove() const {
        if (unlink(path_.c_str()) != 0 && errno != ENOENT) {
            throw PlatformError{cannotWrite(list_, lastError()).what() +
                                std::string{". The reminder is not completed, but the next one of "
                                            "its series was added"}};
        }
    }

private:
    std::string path_;
    std::string list_;
};

/// The next one of a series stays then: one too many is better than a series that has ended.
PlatformError unknownEnd(const std::string& list, const Replacement& replacement, bool hasNext) {
    std::string text = cannotWrite(list, replacement.error).what();
    text += ". Whether the reminder is completed now cannot be told: look before trying again";
    if (hasNext) {
        text += "; the next one of its series was added";
    }
    if (!replacement.kept.empty()) {
        text += "; the other version of its file is kept beside it as " + replacement.kept;
    }
    return PlatformError{text};
}

enum class Attempt {
    completed,
    conflict, ///< another program changed the file after it was found; nothing was saved
};

Attempt tryToComplete(const FoundReminder& found, const std::string& identifier,
                      CalendarFiles& files) {
    const std::string list = nameOf(EntityType::reminder, found.collection.title);
    const std::string path = pathOf(found.collection, found.item);
    const auto bytes = reading(list, [&] { return readRegularFile(path, largestItem); });
    if (!bytes) {
        return Attempt::conflict;
    }
    const auto index = indexOf(files.parse(*bytes, found.collection, found.item), identifier);
    if (!index) {
        return Attempt::conflict;
    }
    const Completion change = completed(*bytes, *index, currentInstant(), files.zones());
    std::optional<NextFile> next;
    if (change.next) {
        next.emplace(found.collection, list, *change.next);
    }
    const Replacement replacement = replaceFile(path, *bytes, change.text);
    if (replacement.end == Replacement::End::done) {
        return Attempt::completed;
    }
    if (replacement.end == Replacement::End::unknown) {
        throw unknownEnd(list, replacement, next.has_value());
    }
    if (next) {
        next->remove();
    }
    if (replacement.end == Replacement::End::failed) {
        throw cannotWrite(list, replacement.error);
    }
    return Attempt::conflict;
}

} // namespace

std::optional<FoundReminder> findReminder(CalendarFolders& folders, const std::string& identifier) {
    std::optional<FoundReminder> found;
    folders.forEachFile(EntityType::reminder, nullptr, [&](const CalendarFolders::File& file) {
        const auto index = indexOf(*file.contents, identifier);
        if (index && !found) {
            found = {file.collection, file.item, file.contents, *index};
        } else if (index && !isSameFile(*found, file)) {
            throw severalReminders();
        }
        return true;
    });
    return found;
}

bool completeReminder(CalendarFolders& folders, const std::string& identifier,
                      const std::string& expectedAt) {
    // A program that changes the file at the same moment goes first, but not forever.
    constexpr int tries = 100;
    for (int attempt = 0; attempt < tries; ++attempt) {
        const auto found = findReminder(folders, identifier);
        if (!found) {
            return false;
        }
        if (!expectedAt.empty() && storedAt(found->collection, found->item) != expectedAt) {
            throw severalReminders();
        }
        if (tryToComplete(*found, identifier, folders.files()) == Attempt::completed) {
            return true;
        }
    }
    throw PlatformError{"another program keeps changing this reminder; nothing was saved"};
}

} // namespace velmiro::local
