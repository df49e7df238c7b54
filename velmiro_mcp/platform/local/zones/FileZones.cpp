#include "velmiro_mcp/platform/local/zones/FileZones.hpp"

namespace velmiro::local {

void FileZones::learn(const std::vector<Component>& components) {
    for (const Component& component : components) {
        const ContentLine* const name = component.line("TZID");
        if (component.is("VTIMEZONE") && component.complete && name != nullptr) {
            vtimezones_.insert_or_assign(plainZoneName(name->value), &component);
            found_.clear();
        }
    }
}

std::shared_ptr<const Zone> FileZones::find(std::string_view name) {
    if (const auto known = found_.find(name); known != found_.end()) {
        return known->second;
    }
    auto zone = lookUp(plainZoneName(name));
    found_.emplace(name, zone);
    return zone;
}

std::shared_ptr<const Zone> FileZones::lookUp(const std::string& name) {
    if (auto zone = catalogue_.named(name, budget_)) {
        return zone;
    }
    if (const auto own = vtimezones_.find(name); own != vtimezones_.end()) {
        if (auto zone = catalogue_.fromVTimeZone(*own->second, budget_)) {
            return zone;
        }
    }
    return catalogue_.hinted(name, budget_);
}

} // namespace velmiro::local
