#pragma once

#include "velmiro_mcp/platform/local/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/ZoneCatalogue.hpp"

#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// The zones of one file: what its VTIMEZONEs describe goes before what the system knows. The
/// components must outlive it.
class FileZones {
public:
    FileZones(ZoneCatalogue& catalogue, WorkBudget& budget)
        : catalogue_{catalogue},
          budget_{budget} {}

    /// Takes the VTIMEZONEs among `components`; the last of a name counts.
    void learn(const std::vector<Component>& components);

    /// Null is the user's own zone.
    std::shared_ptr<const Zone> find(std::string_view name);

    /// A view of this object.
    [[nodiscard]] ZoneFinder finder() {
        return [this](std::string_view name) { return find(name); };
    }

private:
    ZoneCatalogue& catalogue_;
    WorkBudget& budget_;
    std::map<std::string_view, const Component*> described_;
};

} // namespace velmiro::local
