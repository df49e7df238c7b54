#pragma once

#include <chrono>
#include <optional>
#include <string>

/// Values that libical reads. No other file of this program uses libical.
namespace velmiro::local {

/// A DURATION: nominal days, each as long as the clocks make it, and an exact time.
struct NominalDuration {
    std::chrono::days days{0};
    std::chrono::seconds time{0};
};

/// Returns `nullopt` if the text is not a duration, or one of more than ten thousand years.
std::optional<NominalDuration> readDuration(const std::string& text);

} // namespace velmiro::local
