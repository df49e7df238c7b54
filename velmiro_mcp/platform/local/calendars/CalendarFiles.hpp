#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/files/ParseCache.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include <functional>
#include <memory>
#include <string>

namespace velmiro::local {

/// A user's calendar files, each parsed once for as long as it does not change. For one caller at a
/// time.
class CalendarFiles {
public:
    /// Must be called before the files are read for a request. If the system's zone data were
    /// updated, forgets all that was read with the old ones.
    void refresh();

    /// Called for each file of a collection. Returns whether to continue.
    using Visit =
        std::function<bool(const std::string& item, const std::shared_ptr<const CalendarFile>&)>;

    /// Visits the readable files of a collection, in the order of their names. Returns false if a
    /// visit ended it. Throws std::system_error if the collection cannot be read, unless it has
    /// been removed.
    bool visit(const Collection& collection, const Visit& visit);

    /// Parses the bytes of one of a collection's files; the result is not cached.
    CalendarFile parse(std::string bytes, const Collection& collection, const std::string& item);

    [[nodiscard]] ZoneCatalogue& zones() { return *zones_; }

private:
    static constexpr std::size_t mostMemory = 128UL << 20;

    ParseCache<CalendarFile> cache_{mostMemory};
    std::unique_ptr<ZoneCatalogue> zones_; ///< created by the first `refresh`
};

} // namespace velmiro::local
