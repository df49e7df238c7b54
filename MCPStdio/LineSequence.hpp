#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace MCPStdio {

/// The lines of a byte stream.
///
/// A line ends at LF, VT, FF or CR, or at one of the Unicode separators NEL (C2 85), LINE SEPARATOR
/// (E2 80 A8) and PARAGRAPH SEPARATOR (E2 80 A9). Empty lines are skipped, so CR LF needs no rule
/// of its own. Bytes that are not UTF-8 become U+FFFD. There is no limit on a line's length. A last
/// line without an end counts. Used by one thread at a time.
class LineSequence {
public:
    /// Does not own the descriptor, which may be of any kind and blocking or not.
    explicit LineSequence(int descriptor);

    /// The next line, waiting for it; nothing at the end of the stream or when reading fails.
    std::optional<std::string> next();

private:
    static constexpr std::size_t chunkSize = std::size_t{64} * 1024;

    bool fill();
    [[nodiscard]] std::string_view unread() const noexcept {
        return {chunk_.get() + begin_, end_ - begin_};
    }

    int descriptor_;
    std::unique_ptr<char[]> chunk_;
    std::size_t begin_ = 0; ///< what lies in the chunk from here
    std::size_t end_ = 0;   ///< to here has not been given out yet
    std::string partial_;   ///< the beginning of the current line, from earlier chunks
};

} // namespace MCPStdio
