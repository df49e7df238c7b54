#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFiles.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace velmiro::local {

/// Returns where an item is stored, until it is moved: Home/milk.ics.
std::string storedAt(const Collection& collection, const std::string& item);

/// The user's calendars and reminder lists: folders of files in one root for each type. Every
/// failure is a PlatformError that names what could not be read.
///
/// Reading creates nothing: a missing root counts as one empty folder, ‘Calendar’ or ‘Reminders’,
/// until its first item creates it. Only parsed files are kept between calls. One caller at a time.
class CalendarFolders {
public:
    /// Returns whether the user's rights allow reading and writing, or creating a missing root.
    static bool isAccessible(EntityType type);

    /// Returns all calendars, or all lists, in the store's order.
    static std::vector<Collection> collections(EntityType type);

    /// Returns the first calendar or list that can be written; nullopt if there is none.
    static std::optional<Collection> firstWritable(EntityType type);

    /// Returns the folder of a calendar or list; nullopt if it is gone.
    static std::optional<Collection> collection(EntityType type, const Calendar& calendar);

    /// Creates a file in a calendar or list, as `Vdir::createItem` does, and returns why not.
    static std::error_code createItem(EntityType type, const Calendar& calendar,
                                      const std::string& name, std::string_view contents);

    /// A file, valid only during the visit.
    struct File {
        const Collection& collection;
        const std::string& item; ///< its name in the collection
        const std::shared_ptr<const CalendarFile>& contents;
    };

    /// Uses one file and returns whether to visit the next.
    using Visit = std::function<bool(const File&)>;

    /// Visits the readable files of `calendar`, or of all if it is null, in the store's order. A
    /// calendar that is gone has none.
    void forEachFile(EntityType type, const Calendar* calendar, const Visit& visit);

    /// Returns the parser of the files. Use it only after a visit.
    [[nodiscard]] CalendarFiles& files() { return files_; }

private:
    CalendarFiles files_;
};

} // namespace velmiro::local
