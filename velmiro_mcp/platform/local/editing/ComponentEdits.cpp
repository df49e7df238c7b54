#include "velmiro_mcp/platform/local/editing/ComponentEdits.hpp"

#include <algorithm>
#include <cstddef>
#include <set>

namespace velmiro::local {
namespace {

const char* endOf(const Component& component) {
    return component.text.data() + component.text.size();
}

/// Returns where to insert a new property.
const char* endOfProperties(const Component& component) {
    return component.parts.empty() ? endOf(component) : component.parts.front().name.data();
}

} // namespace

void setProperties(LineEdits& edits, std::string_view text, const Component& component,
                   const std::map<std::string, std::string>& properties) {
    LineCounter counter{text};
    const std::size_t first = counter.lineOf(component.text.data());
    std::set<std::string> placed;
    for (const ContentLine& line : component.lines) {
        const auto wanted = std::ranges::find_if(
            properties, [&](const auto& property) { return line.is(property.first); });
        if (wanted == properties.end()) {
            continue;
        }
        const std::size_t number = counter.lineOf(line.name.data());
        if (!wanted->second.empty() && placed.insert(wanted->first).second) {
            edits.replace(number, wanted->second);
        } else {
            edits.remove(number, number + 1);
        }
    }
    const std::size_t end = LineCounter{text}.lineOf(endOfProperties(component));
    const std::string lineBreak{edits.breakOf(first - 1)};
    for (const auto& [name, line] : properties) {
        if (!line.empty() && !placed.contains(name)) {
            edits.insertBefore(end, line + lineBreak);
        }
    }
}

void keepOnly(LineEdits& edits, std::string_view text, const Component& component,
              const Component* calendar) {
    const Component& kept = calendar != nullptr ? *calendar : component;
    LineCounter counter{text};
    edits.remove(0, counter.lineOf(kept.text.data()) - 1);
    if (calendar != nullptr) {
        for (const Component& part : calendar->parts) {
            if (&part != &component && !part.is("VTIMEZONE")) {
                const std::size_t first = counter.lineOf(part.text.data()) - 1;
                // A part without END ends at an unknown line, but not after the whole.
                const std::size_t last = counter.lineOf(part.complete ? endOf(part) : endOf(kept));
                edits.remove(first, part.complete ? last + 1 : last);
            }
        }
    }
    edits.remove(counter.lineOf(endOf(kept)) + 1, edits.count());
}

} // namespace velmiro::local
