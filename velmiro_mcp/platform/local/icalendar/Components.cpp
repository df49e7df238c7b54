#include "velmiro_mcp/platform/local/icalendar/Components.hpp"

#include <algorithm>
#include <utility>

namespace velmiro::local {
namespace {

/// The stack of open components, outermost first. The bottom one stands for the file.
class Nesting {
public:
    Nesting() : open_(1) {}

    [[nodiscard]] std::size_t depth() const { return open_.size() - 1; }

    void begin(std::string_view name, std::string_view rest) {
        open_.push_back({name, rest, {}, {}, false});
    }

    void add(const ContentLine& line) { open_.back().lines.push_back(line); }

    /// Closes the innermost component of this name, and those still open inside it.
    void end(std::string_view name, const char* where) {
        const auto named = std::find_if(open_.rbegin(), open_.rend() - 1,
                                        [&](const Component& open) { return open.is(name); });
        if (named == open_.rend() - 1) {
            return;
        }
        const auto position = static_cast<std::size_t>(open_.rend() - named) - 1;
        while (open_.size() > position + 1) {
            closeInnermost();
        }
        Component& closing = open_.back();
        closing.text =
            closing.text.substr(0, static_cast<std::size_t>(where - closing.text.data()));
        closing.complete = true;
        closeInnermost();
    }

    std::vector<Component> finish() {
        while (open_.size() > 1) {
            closeInnermost();
        }
        return std::move(open_.front().parts);
    }

private:
    void closeInnermost() {
        Component closed = std::move(open_.back());
        open_.pop_back();
        open_.back().parts.push_back(std::move(closed));
    }

    std::vector<Component> open_;
};

} // namespace

const ContentLine* Component::line(std::string_view wanted) const {
    const auto found = std::ranges::find_if(
        lines, [&](const ContentLine& candidate) { return candidate.is(wanted); });
    return found == lines.end() ? nullptr : &*found;
}

std::vector<Component> readComponents(std::string_view text) {
    Nesting nesting;
    std::size_t count = 0;
    std::size_t tooDeep = 0; // components open beyond the depth limit
    while (!text.empty()) {
        const char* const where = text.data();
        const ContentLine line = takeLine(text);
        if (line.is("BEGIN")) {
            if (tooDeep > 0 || nesting.depth() == deepestComponent) {
                ++tooDeep;
            } else if (++count > mostComponents) {
                break;
            } else {
                nesting.begin(trimWSP(line.value), text);
            }
        } else if (line.is("END")) {
            if (tooDeep > 0) {
                --tooDeep;
            } else {
                nesting.end(trimWSP(line.value), where);
            }
        } else if (tooDeep == 0 && !line.name.empty()) {
            nesting.add(line);
        }
    }
    return nesting.finish();
}

} // namespace velmiro::local
