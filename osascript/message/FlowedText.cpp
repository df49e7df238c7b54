#include "osascript/message/FlowedText.hpp"

#include <algorithm>

namespace velmiro::osascript {

std::string unflowed(std::string_view text, bool deletesSpace) {
    std::string lines;
    lines.reserve(text.size());
    std::size_t openDepth = 0;
    bool isOpen = false; // the last line goes on
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        const bool isLast = end == text.size();
        text.remove_prefix(isLast ? end : end + 1);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        const std::size_t depth = std::min(line.find_first_not_of('>'), line.size());
        line.remove_prefix(depth);
        if (line.starts_with(' ')) {
            line.remove_prefix(1); // stuffed
        }
        const bool isSignature = line == "-- ";
        if (isOpen && (depth != openDepth || isSignature)) {
            lines += '\n';
            isOpen = false;
        }
        if (!isOpen) {
            lines.append(depth, '>');
            lines += depth > 0 && !line.empty() ? " " : "";
        }
        isOpen = line.ends_with(' ') && !isSignature;
        openDepth = depth;
        if (isOpen && deletesSpace) {
            line.remove_suffix(1);
        }
        lines += line;
        lines += isOpen || isLast ? "" : "\n";
    }
    return lines;
}

} // namespace velmiro::osascript
