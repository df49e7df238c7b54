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

/// The zones that calendar files name, each computed once, for as long as the system's zone data
/// stay the same.
class ZoneCatalogue {
public:
    /// Zone files are read from the C library's folder, or from a given one.
    ZoneCatalogue();
    explicit ZoneCatalogue(std::string folder);

    /// Returns whether the system's zone data have not changed since construction. A package update
    /// puts its files into the folder under new names, which changes the folder's stamp.
    [[nodiscard]] bool isCurrent() const;

    /// Returns the system's zone of exactly this name, or the zone of which this is an older name
    /// (US/Eastern); null if there is none.
    std::shared_ptr<const Zone> named(std::string_view name, WorkBudget& budget);

    /// Returns the zone that a name hints at if it is not one of the system's: the end of
    /// /example.org/2026/Europe/Berlin, or a Windows name. Returns null if there is none.
    std::shared_ptr<const Zone> hinted(std::string_view name, WorkBudget& budget);

    /// Returns the zone that a VTIMEZONE describes. Times that it leaves open are in the zone that
    /// its TZID or X-LIC-LOCATION hints at. Returns null if it leaves all times open and gives no
    /// hint.
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

/// Returns a TZID without escapes, quotes and white space around it. The property is a TEXT with
/// escapes and the parameter a string in quotes, but programs write each in the form of the other.
std::string plainZoneName(std::string_view written);

} // namespace velmiro::local
