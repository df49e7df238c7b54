#pragma once

#include "velmiro_mcp/platform/local/Components.hpp"
#include "velmiro_mcp/platform/local/Files.hpp"
#include "velmiro_mcp/platform/local/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/Zone.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmiro::local {

/// The zone that a VTIMEZONE describes; null when nothing in it can be read.
std::shared_ptr<const Zone> zoneFromComponent(const Component& component, WorkBudget& budget);

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

    /// The zone that a VTIMEZONE describes; null when nothing in it can be read.
    std::shared_ptr<const Zone> described(const Component& component, WorkBudget& budget);

    /// The zone for a TZID that no VTIMEZONE explains: a name of the system's zone data, also
    /// behind a prefix of the producer's such as /example.org/2026/Europe/Berlin; else a name that
    /// Windows uses. Null when it is neither.
    std::shared_ptr<const Zone> named(std::string_view name, WorkBudget& budget);

private:
    using Zones = std::map<std::string, std::shared_ptr<const Zone>, std::less<>>;

    [[nodiscard]] std::shared_ptr<const Zone> find(std::string_view name) const;

    std::string folder_;
    std::optional<FileStamp> stamp_; ///< of the folder
    Zones described_;
    Zones named_;
};

} // namespace velmiro::local
