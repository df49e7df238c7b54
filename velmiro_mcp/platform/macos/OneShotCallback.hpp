#pragma once

#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <atomic>
#include <utility>

namespace velmiro::macos {

/// Calls the callback of a fetch exactly once, whatever a framework does with its completion block:
/// calls it late, on another thread or more than once, or drops it. Shared by everything that may
/// answer; if all of that is gone without an answer, the callback receives nullopt.
class OneShotCallback {
public:
    explicit OneShotCallback(RemindersFound callback) : callback_{std::move(callback)} {}
    OneShotCallback(const OneShotCallback&) = delete;
    OneShotCallback& operator=(const OneShotCallback&) = delete;
    ~OneShotCallback() { call(std::nullopt); }

    void call(std::optional<std::vector<Reminder>> reminders) {
        if (claim()) {
            callback_(std::move(reminders));
        }
    }

    /// Returns true to the first caller only, who then reports the outcome in another way, for
    /// instance by an exception.
    [[nodiscard]] bool claim() noexcept { return !claimed_.exchange(true); }

    [[nodiscard]] bool isClaimed() const noexcept { return claimed_; }

private:
    const RemindersFound callback_;
    std::atomic<bool> claimed_{false};
};

} // namespace velmiro::macos
