#include "velmiro_mcp/platform/local/ZoneCatalogue.hpp"

#include "velmiro_mcp/platform/local/ICUZones.hpp"
#include "velmiro_mcp/platform/local/SystemZone.hpp"

#include <cstddef>
#include <cstdlib>

namespace velmiro::local {
namespace {

constexpr std::size_t mostZones = 1000;
constexpr std::uint64_t stepsOfLookup = 500;

std::string zoneFolder() {
    const char* const folder = std::getenv("TZDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/usr/share/zoneinfo";
}

} // namespace

ZoneCatalogue::ZoneCatalogue() : ZoneCatalogue{zoneFolder()} {}

ZoneCatalogue::ZoneCatalogue(std::string folder)
    : folder_{std::move(folder)},
      stamp_{stampOf(folder_)} {}

bool ZoneCatalogue::isCurrent() const {
    return stampOf(folder_) == stamp_;
}

std::shared_ptr<const Zone> ZoneCatalogue::described(const Component& component,
                                                     WorkBudget& budget) {
    if (const auto known = described_.find(component.text); known != described_.end()) {
        return known->second;
    }
    auto zone = zoneFromComponent(component, budget);
    if (described_.size() < mostZones && !budget.exhausted()) {
        described_.emplace(component.text, zone);
    }
    return zone;
}

std::shared_ptr<const Zone> ZoneCatalogue::named(std::string_view name, WorkBudget& budget) {
    if (const auto known = named_.find(name); known != named_.end()) {
        return known->second;
    }
    if (!budget.spend(stepsOfLookup)) {
        return nullptr;
    }
    auto zone = find(name);
    if (named_.size() < mostZones) {
        named_.emplace(name, zone);
    }
    return zone;
}

std::shared_ptr<const Zone> ZoneCatalogue::find(std::string_view name) const {
    if (sameWord(name, "UTC") || sameWord(name, "GMT") || name == "Z") {
        return Zone::utc();
    }
    for (auto rest = name; !rest.empty();) {
        if (auto zone = systemZone(rest, folder_)) {
            return zone;
        }
        const auto slash = rest.find('/');
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
    }
    if (const auto system = zoneNameOfWindows(name); !system.empty()) {
        auto zone = systemZone(system, folder_);
        return zone ? zone : zoneFromICU(system);
    }
    for (auto rest = name; !rest.empty();) {
        if (auto zone = zoneFromICU(rest)) {
            return zone;
        }
        const auto slash = rest.find('/');
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
    }
    return nullptr;
}

} // namespace velmiro::local
