#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmiro::local {

/// The zones that calendar files speak of, each worked out once, for as long as the system's zone
/// data are the same.
class ZoneCatalogue {
public:
    /// Zone files are looked for where the C library does, unless a folder is named.
    ZoneCatalogue();
    explicit ZoneCatalogue(std::string folder);

    /// Whether the system's zone data are what they were when this was made: a renewed package puts
    /// its files into the folder under new names, which the folder's stamp shows.
    [[nodiscard]] bool isCurrent() const;

    /// Returns the zone that the system knows by exactly this name, or by an older name for the
    /// same zone (US/Eastern); null when there is none.
    std::shared_ptr<const Zone> named(std::string_view name, WorkBudget& budget);

    /// Returns the zone that a name hints at without being a name of the system: the end of
    /// /example.org/2026/Europe/Berlin, or the zone that Windows calls so; null when there is none.
    std::shared_ptr<const Zone> hinted(std::string_view name, WorkBudget& budget);

    /// Returns the zone that a VTIMEZONE describes, with the zone that its TZID or X-LIC-LOCATION
    /// hints at where it says nothing; null when that is everywhere and there is no hint.
    std::shared_ptr<const Zone> fromVTimeZone(const Component& component, WorkBudget& budget);

private:
    using Zones = std::map<std::string, std::shared_ptr<const Zone>, std::less<>>;

    [[nodiscard]] std::shared_ptr<const Zone> findNamed(std::string_view name) const;
    [[nodiscard]] std::shared_ptr<const Zone> findHinted(std::string_view name) const;

    std::string folder_;
    std::optional<FileStamp> stamp_; ///< of the folder
    Zones named_;
    Zones hinted_;
    Zones fromVTimeZones_;
};

/// Returns a TZID as it is meant: the property is a TEXT with escapes and the parameter a string in
/// quotes, but programs write either in the manner of the other.
std::string plainZoneName(std::string_view written);

} // namespace velmiro::local
