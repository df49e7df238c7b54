#pragma once

#include "approval_host/question/Layout.hpp"

#include <string_view>

namespace velmiro::host {

/// Writes what the user sees.
class Output {
public:
    /// The caller owns both descriptors. `stop` becomes readable when a stop is requested.
    Output(int descriptor, int stop) noexcept : descriptor_{descriptor}, stop_{stop} {}

    /// Writes all of the text. Returns false if nobody can read it any more, or if a stop is
    /// requested while the reader makes it wait.
    [[nodiscard]] bool write(std::string_view text) const;

    /// Determines the style afresh, because the window of a terminal can be resized.
    [[nodiscard]] Style style(bool answersAreSeen) const;

private:
    int descriptor_;
    int stop_;
};

} // namespace velmiro::host
