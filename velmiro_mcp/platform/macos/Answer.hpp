#pragma once

#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <atomic>
#include <utility>

namespace velmiro::macos {

/// Sees to it that who asked for reminders hears of them exactly once, whatever a framework does
/// with its completion block: calls it late, on another thread, more than once, or throws it away.
/// Shared by all who might answer; the last of them to go answers with nothing.
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

    /// True for the first one only, who answers in another way, by an exception say.
    [[nodiscard]] bool claim() noexcept { return !claimed_.exchange(true); }

    [[nodiscard]] bool isGiven() const noexcept { return claimed_; }

private:
    const RemindersFound found_;
    std::atomic<bool> claimed_{false};
};

} // namespace velmiro::macos
