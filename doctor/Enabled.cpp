#include "doctor/Enabled.hpp"

#include "doctor/Examinations.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/Kind.hpp"
#include "velmiro_mcp/base/Text.hpp"

#include <algorithm>
#include <optional>
#include <vector>

namespace velmiro::doctor {
namespace {

std::string joined(const std::vector<std::string_view>& names, std::string_view between) {
    std::string text;
    for (const std::string_view name : names) {
        text.append(text.empty() ? "" : between).append(name);
    }
    return text;
}

char inSmallLetter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Returns the kind that a wrong name was probably meant to be: calender, Reminder, email.
std::optional<std::string_view> meant(std::string_view name) {
    std::string small{name};
    std::ranges::transform(small, small.begin(), inSmallLetter);
    for (const Kind kind : allCases) {
        constexpr std::size_t sharedLetters = 3;
        const std::string_view right = rawValue(kind);
        if (small.starts_with(right.substr(0, sharedLetters)) ||
            small.find(right) != std::string::npos) {
            return right;
        }
    }
    return std::nullopt;
}

std::vector<std::string_view> allNames() {
    std::vector<std::string_view> names;
    for (const Kind kind : allCases) {
        names.push_back(rawValue(kind));
    }
    return names;
}

} // namespace

std::vector<std::string> namesOfNoKind(std::string_view value) {
    std::vector<std::string> wrong;
    for (const std::string_view piece : splitAtCommas(value)) {
        const std::string_view name = trimSpacesAndTabs(piece);
        if (!name.empty() && !kindNamed(name)) { // the server ignores what is empty as well
            wrong.emplace_back(name);
        }
    }
    return wrong;
}

std::string correctedEnabled(std::string_view value) {
    std::vector<std::string_view> names;
    for (const std::string_view piece : splitAtCommas(value)) {
        const std::string_view name = trimSpacesAndTabs(piece);
        const auto right = kindNamed(name) ? std::optional{name} : meant(name);
        if (right && std::ranges::find(names, *right) == names.end()) {
            names.push_back(*right);
        }
    }
    return joined(names.empty() ? allNames() : names, ",");
}

Section examineEnabled(const std::map<std::string, std::string>& environment) {
    Section section{"tools"};
    const auto variable = environment.find("VELMIRO_ENABLED");
    if (variable == environment.end()) {
        section.fact("VELMIRO_ENABLED is not set: all five kinds are offered");
        return section;
    }
    const std::string mend = "export VELMIRO_ENABLED=" + correctedEnabled(variable->second);
    std::vector<std::string_view> offered;
    for (const Kind kind : enabledKinds(environment)) {
        offered.push_back(rawValue(kind));
    }
    std::string wrong;
    for (const std::string& name : namesOfNoKind(variable->second)) {
        wrong += (wrong.empty() ? "" : ", ") + named(name);
    }
    if (offered.empty()) {
        section.problem("VELMIRO_ENABLED names no kind" +
                            (wrong.empty() ? wrong : " but " + wrong) + ": the agent sees no tools",
                        mend);
        return section;
    }
    section.fact("VELMIRO_ENABLED offers " + joined(offered, ", "));
    if (!wrong.empty()) {
        section.problem("VELMIRO_ENABLED also names what is no kind: " + wrong, mend);
    }
    return section;
}

} // namespace velmiro::doctor
