#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmiro::host {

/// Collects the first line of a stream that arrives in pieces, up to a maximum length.
class LineBuffer {
public:
    enum class State { incomplete, complete, tooLong };

    explicit LineBuffer(std::size_t longest) noexcept : longest_{longest} {}

    /// Appends the next bytes. What follows the first line feed is dropped.
    State add(std::string_view bytes);

    /// Returns the line without its line feed; it is complete once `add` has returned
    /// State::complete. Leaves the buffer empty, without memory of its own.
    [[nodiscard]] std::string take() noexcept;

private:
    std::size_t longest_;
    std::string line_;
    State state_ = State::incomplete;
};

} // namespace velmiro::host
