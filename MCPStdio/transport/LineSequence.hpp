#pragma once

#include "MCPStdio/text/TextBuffer.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace MCPStdio {

/// The lines of a byte stream.
///
/// A line ends at LF, VT, FF or CR, or at one of the Unicode separators NEL (C2 85), LINE SEPARATOR
/// (E2 80 A8) and PARAGRAPH SEPARATOR (E2 80 A9). Empty lines are skipped, so CR LF needs no rule
/// of its own. Bytes that are not UTF-8 become U+FFFD. There is no limit on a line's length but
/// memory: a line that does not fit is skipped to its end, and is an empty line then. A last line
/// without an end counts. Used by one thread at a time.
class LineSequence {
public:
    /// Does not own the descriptor, which may be of any kind and blocking or not.
    explicit LineSequence(int descriptor);

    /// The next line, waiting for it; nothing at the end of the stream or when reading fails. The
    /// view holds until the next call.
    std::optional<std::string_view> next();

private:
    std::size_t findEnd();
    bool fill();
    [[nodiscard]] char* roomFor(std::size_t count);
    [[nodiscard]] std::string_view repaired(std::string_view line);

    int descriptor_;
    TextBuffer read_;
    std::size_t begin_ = 0;   ///< where in it the next line begins
    std::size_t scanned_ = 0; ///< up to here there is no end of it
    bool isASCII_ = true;     ///< so is the next line up to there
    bool skipping_ = false;   ///< the next line did not fit into memory
    std::string repaired_;    ///< the last line, when it was not UTF-8
};

} // namespace MCPStdio
