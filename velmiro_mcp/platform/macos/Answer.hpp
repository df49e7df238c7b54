#pragma once

#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <atomic>
#include <utility>

namespace velmiro::macos {

/// Calls the callback of a fetch exactly once, whatever a framework does with its completion block:
/// calls it late, on another thread or more than once, or drops it. Shared by everything that may
/// answer; if all of that is gone without an answer, the callback receives nullopt.
class Answer {
public:
    explicit Answer(RemindersFound found) : found_{std::move(found)} {}
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    ~Answer() { give(std::nullopt); }

    void give(std::optional<std::vector<Reminder>> reminders) {
        if (claim()) {
            found_(std::move(reminders));
        }
    }

    /// Returns true to the first caller only, who then reports the outcome in another way, for
    /// instance by an exception.
    [[nodiscard]] bool claim() noexcept { return !claimed_.exchange(true); }

    [[nodiscard]] bool isGiven() const noexcept { return claimed_; }

private:
    const RemindersFound found_;
    std::atomic<bool> claimed_{false};
};

} // namespace velmiro::macos
