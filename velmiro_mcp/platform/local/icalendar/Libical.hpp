#pragma once

#include <chrono>
#include <optional>
#include <string>

/// The values of a calendar file whose grammar libical knows. Nothing else here knows libical.
namespace velmiro::local {

/// A DURATION: nominal days, which last as long as the clock says, and an exact time.
struct NominalDuration {
    std::chrono::days days{0};
    std::chrono::seconds time{0};
};

std::optional<NominalDuration> readDuration(const std::string& text);

} // namespace velmiro::local
