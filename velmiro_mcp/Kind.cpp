#include "velmiro_mcp/Kind.hpp"

#include "velmiro_mcp/base/Text.hpp"

namespace velmiro {
namespace {

constexpr std::array<std::string_view, allCases.size()> names{"calendar", "reminders", "contacts",
                                                              "notes", "mail"};

} // namespace

std::string_view rawValue(Kind kind) noexcept {
    return names.at(static_cast<std::size_t>(kind));
}

std::optional<Kind> kindNamed(std::string_view name) noexcept {
    for (const Kind kind : allCases) {
        if (rawValue(kind) == name) {
            return kind;
        }
    }
    return std::nullopt;
}

std::set<Kind> enabledKinds(const std::map<std::string, std::string>& environment) {
    const auto variable = environment.find("VELMIRO_ENABLED");
    if (variable == environment.end()) {
        return {allCases.begin(), allCases.end()};
    }
    std::set<Kind> enabled;
    for (const std::string_view piece : splitAtCommas(variable->second)) {
        if (const auto kind = kindNamed(trimSpacesAndTabs(piece))) {
            enabled.insert(*kind);
        }
    }
    return enabled;
}

} // namespace velmiro
