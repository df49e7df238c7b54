#include "doctor/Report.hpp"

#include "doctor/Words.hpp"

#include <algorithm>

namespace velmiro::doctor {
namespace {

constexpr std::string_view bold = "1";
constexpr std::string_view red = "1;31";
constexpr std::string_view yellow = "33";
constexpr std::string_view green = "32";

std::string coloured(std::string_view text, std::string_view colour, bool inColour) {
    const std::string plain{text};
    return inColour ? "\033[" + std::string{colour} + "m" + plain + "\033[0m" : plain;
}

std::string markOf(Weight weight, bool inColour) {
    switch (weight) {
    case Weight::problem:
        return coloured("!", red, inColour) + " ";
    case Weight::hint:
        return coloured("?", yellow, inColour) + " ";
    default:
        return "  ";
    }
}

} // namespace

std::size_t Section::count(Weight weight) const noexcept {
    return static_cast<std::size_t>(std::ranges::count(findings_, weight, &Finding::weight));
}

std::string textOf(const Section& section, bool inColour) {
    std::string text = coloured(section.title(), bold, inColour) + '\n';
    for (const Finding& finding : section.findings()) {
        text += markOf(finding.weight, inColour) + finding.text + '\n';
        if (!finding.mend.empty()) {
            text += "      " + finding.mend + '\n';
        }
    }
    return text;
}

std::string verdict(std::size_t problems, bool inColour) {
    if (problems == 0) {
        return coloured("All is well.", green, inColour) + '\n';
    }
    return coloured(counted(problems, "problem"), red, inColour) + ". The line below " +
           (problems == 1 ? "it" : "each") + " says how to mend it.\n";
}

} // namespace velmiro::doctor
