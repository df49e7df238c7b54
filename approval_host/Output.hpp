#pragma once

#include "approval_host/Layout.hpp"

#include <string_view>

namespace velmiro::host {

/// Where the host writes what the user is to see.
class Output {
public:
    /// Both descriptors stay the caller's. `stop` is readable once the program is to end.
    Output(int descriptor, int stop) noexcept : descriptor_{descriptor}, stop_{stop} {}

    /// Writes all of the text. False when nobody can read it any more, or when the program is to
    /// end while the reader lets it wait.
    [[nodiscard]] bool write(std::string_view text) const;

    /// Found out afresh: a terminal's window changes its size.
    [[nodiscard]] Style style(bool answersAreSeen) const;

private:
    int descriptor_;
    int stop_;
};

} // namespace velmiro::host
