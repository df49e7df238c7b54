#pragma once

#include "velmiro_mcp/platform/local/CalendarFolders.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/// One reminder, found by its identifier among all files, and completed in its own.
namespace velmiro::local {

struct FoundReminder {
    Collection collection;
    std::string item; ///< the file's name in the collection
    std::shared_ptr<const CalendarFile> file;
    std::size_t index = 0; ///< among the reminders of the file

    [[nodiscard]] const StoredReminder& stored() const { return file->reminders[index]; }
};

/// Returns the reminder with this identifier; nullopt if there is none. Throws PlatformError if
/// there are several, unless they are one file under two names.
std::optional<FoundReminder> findReminder(CalendarFolders& folders, const std::string& identifier);

/// Completes a reminder now, and adds the next one of its series. Fulfils the contract of
/// `EventDatabase::completeReminder`.
bool completeReminder(CalendarFolders& folders, const std::string& identifier,
                      const std::string& expectedAt);

} // namespace velmiro::local
