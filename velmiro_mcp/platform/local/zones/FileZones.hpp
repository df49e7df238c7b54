#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// The zones of one file. A TZID that is exactly a name of the system's is that zone, whatever the
/// file's VTIMEZONE says: those are often cut short, or older than the law. Any other TZID is its
/// VTIMEZONE; without one that can be read, the zone that the TZID hints at.
class FileZones {
public:
    FileZones(ZoneCatalogue& catalogue, WorkBudget& budget)
        : catalogue_{catalogue},
          budget_{budget} {}

    /// Takes the VTIMEZONEs among `components`, which must outlive this object; the last of a name
    /// counts.
    void learn(const std::vector<Component>& components);

    /// Returns the zone that a TZID, as written in a parameter, stands for; null is the user's own.
    std::shared_ptr<const Zone> find(std::string_view name);

    /// A view of this object.
    [[nodiscard]] ZoneFinder finder() {
        return [this](std::string_view name) { return find(name); };
    }

private:
    [[nodiscard]] std::shared_ptr<const Zone> lookUp(const std::string& name);

    ZoneCatalogue& catalogue_;
    WorkBudget& budget_;
    std::map<std::string, const Component*> vtimezones_;                    ///< by plain names
    std::map<std::string, std::shared_ptr<const Zone>, std::less<>> found_; ///< by names as written
};

} // namespace velmiro::local
