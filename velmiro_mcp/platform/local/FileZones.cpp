#include "velmiro_mcp/platform/local/FileZones.hpp"

namespace velmiro::local {

void FileZones::learn(const std::vector<Component>& components) {
    for (const Component& component : components) {
        const ContentLine* const name = component.line("TZID");
        if (component.is("VTIMEZONE") && component.complete && name != nullptr) {
            described_.insert_or_assign(name->value, &component);
        }
    }
}

std::shared_ptr<const Zone> FileZones::find(std::string_view name) {
    if (const auto own = described_.find(name); own != described_.end()) {
        if (auto zone = catalogue_.described(*own->second, budget_)) {
            return zone;
        }
    }
    return catalogue_.named(name, budget_);
}

} // namespace velmiro::local
