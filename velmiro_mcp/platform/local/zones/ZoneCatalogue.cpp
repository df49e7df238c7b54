#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include "velmiro_mcp/platform/local/zones/ICUZones.hpp"
#include "velmiro_mcp/platform/local/zones/SystemZone.hpp"
#include "velmiro_mcp/platform/local/zones/VTimeZone.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>

namespace velmiro::local {
namespace {

constexpr std::size_t mostZones = 1000;
constexpr std::uint64_t stepsOfLookup = 500;

std::string zoneFolder() {
    const char* const folder = std::getenv("TZDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/usr/share/zoneinfo";
}

bool isUTC(std::string_view name) {
    return sameWord(name, "UTC") || sameWord(name, "GMT") || name == "Z";
}

/// Returns the first zone that `find` knows by the end of a name: by the whole name, then by the
/// name without its first part, and so on.
template <typename Find>
std::shared_ptr<const Zone> findEnd(std::string_view name, const Find& find) {
    while (!name.empty()) {
        if (auto zone = find(name)) {
            return zone;
        }
        const auto slash = name.find('/');
        name = slash == std::string_view::npos ? std::string_view{} : name.substr(slash + 1);
    }
    return nullptr;
}

} // namespace

ZoneCatalogue::ZoneCatalogue() : ZoneCatalogue{zoneFolder()} {}

ZoneCatalogue::ZoneCatalogue(std::string folder)
    : folder_{std::move(folder)},
      stamp_{stampOf(folder_)} {}

bool ZoneCatalogue::isCurrent() const {
    return stampOf(folder_) == stamp_;
}

std::shared_ptr<const Zone> ZoneCatalogue::named(std::string_view name, WorkBudget& budget) {
    if (const auto known = named_.find(name); known != named_.end()) {
        return known->second;
    }
    if (!budget.spend(stepsOfLookup)) {
        return nullptr;
    }
    auto zone = findNamed(name);
    if (named_.size() < mostZones) {
        named_.emplace(name, zone);
    }
    return zone;
}

std::shared_ptr<const Zone> ZoneCatalogue::hinted(std::string_view name, WorkBudget& budget) {
    if (const auto known = hinted_.find(name); known != hinted_.end()) {
        return known->second;
    }
    if (!budget.spend(stepsOfLookup)) {
        return nullptr;
    }
    auto zone = findHinted(name);
    if (hinted_.size() < mostZones) {
        hinted_.emplace(name, zone);
    }
    return zone;
}

std::shared_ptr<const Zone> ZoneCatalogue::fromVTimeZone(const Component& component,
                                                         WorkBudget& budget) {
    if (const auto known = fromVTimeZones_.find(component.text); known != fromVTimeZones_.end()) {
        return known->second;
    }
    std::shared_ptr<const Zone> fallback;
    for (const char* const property : {"X-LIC-LOCATION", "TZID"}) {
        const ContentLine* const line = component.line(property);
        if (line != nullptr && !fallback) {
            fallback = hinted(plainZoneName(line->value), budget);
        }
    }
    auto zone = readVTimeZone(component, fallback, budget);
    if (fromVTimeZones_.size() < mostZones && !budget.exhausted()) {
        fromVTimeZones_.emplace(component.text, zone);
    }
    return zone;
}

std::shared_ptr<const Zone> ZoneCatalogue::findNamed(std::string_view name) const {
    if (name == "UTC" || name == "GMT") {
        return Zone::utc();
    }
    if (auto zone = systemZone(name, folder_)) {
        return zone;
    }
    // The folder may lack older names, or all names. ICU's abbreviations of three letters are not
    // names of the system: CST is as often China's as Chicago's.
    constexpr std::size_t abbreviation = 3;
    if (!isZoneName(name) || name.size() <= abbreviation) {
        return nullptr;
    }
    const std::string canonical = canonicalZoneName(name);
    auto zone = canonical.empty() ? nullptr : systemZone(canonical, folder_);
    return zone || canonical.empty() ? zone : zoneFromICU(canonical);
}

std::shared_ptr<const Zone> ZoneCatalogue::findHinted(std::string_view name) const {
    const auto inFolder = [&](std::string_view end) {
        return isUTC(end) ? Zone::utc() : systemZone(end, folder_);
    };
    if (auto zone = findEnd(name, inFolder)) {
        return zone;
    }
    if (const auto system = zoneNameOfWindows(name); !system.empty()) {
        auto zone = systemZone(system, folder_);
        return zone ? zone : zoneFromICU(system);
    }
    return findEnd(name, zoneFromICU);
}

std::string plainZoneName(std::string_view written) {
    const std::string text = unescapedText(written);
    std::string_view name = trimWSP(text);
    if (name.size() > 1 && name.starts_with('"') && name.ends_with('"')) {
        name = trimWSP(name.substr(1, name.size() - 2));
    }
    return std::string{name};
}

} // namespace velmiro::local
