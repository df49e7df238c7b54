#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/files/ParseCache.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include <functional>
#include <memory>
#include <string>

namespace velmiro::local {

/// The calendar files of a user, each parsed once as long as it does not change. One caller at a
/// time.
class CalendarFiles {
public:
    /// To be called before the files are read on behalf of somebody: where the system's zone data
    /// were renewed, all that was read with the old ones is forgotten.
    void refresh();

    /// What is done with a file of a collection; gives whether to go on.
    using Visit =
        std::function<bool(const std::string& item, const std::shared_ptr<const CalendarFile>&)>;

    /// Visits the files of a collection that can be read, in the order of their names. False when a
    /// visit ended it. Throws std::system_error when the collection cannot be read, unless it has
    /// been removed.
    bool visit(const Collection& collection, const Visit& visit);

    /// Reads the bytes of one of its files; they are not kept.
    CalendarFile parse(std::string bytes, const Collection& collection, const std::string& item);

    [[nodiscard]] ZoneCatalogue& zones() { return *zones_; }

private:
    static constexpr std::size_t mostMemory = 128UL << 20;

    ParseCache<CalendarFile> cache_{mostMemory};
    std::unique_ptr<ZoneCatalogue> zones_; ///< made by the first `refresh`
};

} // namespace velmiro::local
