#pragma once

#include "velmiro_mcp/platform/local/icalendar/ContentLine.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// A component. Its views refer to the text from which it was read.
struct Component {
    std::string_view name;
    std::string_view text; ///< the lines between BEGIN and END
    std::vector<ContentLine> lines;
    std::vector<Component> parts;
    bool complete = false; ///< whether its END was found

    [[nodiscard]] bool is(std::string_view wanted) const { return sameWord(name, wanted); }

    /// Returns the first line of that name, or null if there is none.
    [[nodiscard]] const ContentLine* line(std::string_view wanted) const;
};

/// Components nested deeper, or beyond this number, are not read. No calendar program writes
/// either.
inline constexpr std::size_t deepestComponent = 8;
inline constexpr std::size_t mostComponents = 200'000;

/// Returns the outermost components of an unfolded text. One that is cut off at the end of the text
/// is included, but not complete. Text outside components and an END without a BEGIN are skipped.
std::vector<Component> readComponents(std::string_view text);

} // namespace velmiro::local
