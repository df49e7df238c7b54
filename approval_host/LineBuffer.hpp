#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmiro::host {

/// Collects the first line of a stream that comes in pieces, up to a length.
class LineBuffer {
public:
    enum class State { incomplete, complete, tooLong };

    explicit LineBuffer(std::size_t longest) noexcept : longest_{longest} {}

    /// Takes the next bytes. What follows the first line feed is dropped.
    State add(std::string_view bytes);

    /// The line without its line feed; whole once `add` said complete. The buffer is empty after
    /// this and its memory is gone with the line.
    [[nodiscard]] std::string take() noexcept;

private:
    std::size_t longest_;
    std::string line_;
    State state_ = State::incomplete;
};

} // namespace velmiro::host
