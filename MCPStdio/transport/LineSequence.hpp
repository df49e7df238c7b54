#pragma once

#include "MCPStdio/text/TextBuffer.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace MCPStdio {

/// Reads a byte stream line by line.
///
/// A line ends at LF, VT, FF or CR, or at one of the Unicode separators NEL (C2 85), LINE SEPARATOR
/// (E2 80 A8) and PARAGRAPH SEPARATOR (E2 80 A9); the last line needs no end. Empty lines are
/// skipped, so CR LF needs no rule of its own. Bytes that are not UTF-8 become U+FFFD. Only memory
/// limits a line's length: one that does not fit is skipped to its end and returned as an empty
/// line. Used by one thread at a time.
class LineSequence {
public:
    /// Does not own the descriptor, which may be of any kind, blocking or not.
    explicit LineSequence(int descriptor);

    /// Waits for the next line and returns it; nullopt at the end of the stream, or if reading
    /// fails. The view is valid until the next call.
    std::optional<std::string_view> next();

    /// Ends the view that `next` returned last, and frees the memory of a long line, which is then
    /// there for its answer.
    void releaseLine() noexcept;
    /// Returns whether bytes have been read that follow the line.
    [[nodiscard]] bool hasMore() const noexcept { return begin_ < buffer_.size(); }

private:
    std::size_t findEnd();
    bool fill();
    [[nodiscard]] char* roomFor(std::size_t count);
    [[nodiscard]] std::string_view repaired(std::string_view line);

    int descriptor_;
    TextBuffer buffer_;       ///< bytes read; those before `begin_` have been returned
    std::size_t begin_ = 0;   ///< where the next line begins
    std::size_t scanned_ = 0; ///< the next line does not end before this index
    bool isASCII_ = true;     ///< the next line is ASCII up to `scanned_`
    bool skipping_ = false;   ///< the next line did not fit into memory
    std::string repaired_;    ///< the line returned last, if it was not UTF-8
};

} // namespace MCPStdio
