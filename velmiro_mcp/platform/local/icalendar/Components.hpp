#pragma once

#include "velmiro_mcp/platform/local/icalendar/ContentLine.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// What lies between a BEGIN and its END. Views into the text that was read.
struct Component {
    std::string_view name;
    std::string_view text; ///< the lines between BEGIN and END
    std::vector<ContentLine> lines;
    std::vector<Component> parts;
    bool complete = false; ///< whether its END was found

    [[nodiscard]] bool is(std::string_view wanted) const { return sameWord(name, wanted); }

    /// The first line of that name; null when there is none.
    [[nodiscard]] const ContentLine* line(std::string_view wanted) const;
};

/// Components nested deeper, and those after so many, are not read; no calendar program writes
/// either.
inline constexpr std::size_t deepestComponent = 8;
inline constexpr std::size_t mostComponents = 200'000;

/// The outermost components of an unfolded text. What is cut off at the end is there, but not
/// complete; text outside of components and an END without BEGIN are passed over.
std::vector<Component> readComponents(std::string_view text);

} // namespace velmiro::local
