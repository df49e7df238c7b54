#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// The zones of one file. A TZID that is exactly a name in the system's zone data is that zone,
/// whatever the file's VTIMEZONE says: those are often cut short, or older than the law. Any other
/// TZID is its VTIMEZONE or, without a readable one, the zone that the TZID hints at.
class FileZones {
public:
    FileZones(ZoneCatalogue& catalogue, WorkBudget& budget)
        : catalogue_{catalogue},
          budget_{budget} {}

    /// Adds the VTIMEZONEs among `components`, which must outlive this object. Of several with one
    /// name, the last counts.
    void learn(const std::vector<Component>& components);

    /// Returns the zone for a TZID as written in a parameter; null is the user's own zone.
    std::shared_ptr<const Zone> find(std::string_view name);

    /// Returns a finder that refers to this object.
    [[nodiscard]] ZoneFinder finder() {
        return [this](std::string_view name) { return find(name); };
    }

private:
    [[nodiscard]] std::shared_ptr<const Zone> lookUp(const std::string& name);

    ZoneCatalogue& catalogue_;
    WorkBudget& budget_;
    std::map<std::string, const Component*> vtimezones_;                    ///< by plain name
    std::map<std::string, std::shared_ptr<const Zone>, std::less<>> found_; ///< by name as written
};

} // namespace velmiro::local
