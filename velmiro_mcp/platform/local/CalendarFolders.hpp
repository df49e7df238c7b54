#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFiles.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::local {

/// Returns where an item is stored, until somebody moves it: Home/milk.ics.
std::string storedAt(const Collection& collection, const std::string& item);

/// The user's calendars and reminder lists: folders of files in one root for each type. Every
/// failure is a PlatformError that names what could not be read.
///
/// The first use of a root that does not exist creates it. Only the parsed files are kept between
/// two calls. One caller at a time.
class CalendarFolders {
public:
    /// Returns whether the user's rights allow reading and writing.
    static bool isAccessible(EntityType type);

    /// Returns all calendars, or all lists, in the store's order.
    static std::vector<Collection> collections(EntityType type);

    /// Returns the first one that can be written; nullopt if there is none.
    static std::optional<Collection> firstWritable(EntityType type);

    /// Returns the folder of a calendar or list; nullopt if it is gone.
    static std::optional<Collection> collection(EntityType type, const Calendar& calendar);

    /// A file, valid only during the visit.
    struct File {
        const Collection& collection;
        const std::string& item; ///< its name in the collection
        const std::shared_ptr<const CalendarFile>& contents;
    };

    /// Returns whether to continue.
    using Visit = std::function<bool(const File&)>;

    /// Visits the readable files of `calendar`, or of all if it is null, in the store's order. A
    /// calendar that is gone has none.
    void forEachFile(EntityType type, const Calendar* calendar, const Visit& visit);

    /// Returns the files as they are parsed; to be used after the first visit.
    [[nodiscard]] CalendarFiles& files() { return files_; }

private:
    CalendarFiles files_;
};

} // namespace velmiro::local
