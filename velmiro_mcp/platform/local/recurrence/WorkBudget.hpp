#pragma once

#include <cstdint>

namespace velmiro::local {

/// The work that a calendar file may still cause.
///
/// Calendar files come from strangers. One line is enough to ask for a hundred million repetitions,
/// or to search for a 30 February forever. So whatever a file can make long is counted in steps,
/// each a handful of machine instructions, and stops when the steps are used up. A budget can be
/// part of a larger one; it then ends with whichever is used up first.
class WorkBudget {
public:
    explicit WorkBudget(std::uint64_t limit, WorkBudget* whole = nullptr) noexcept
        : limit_{limit},
          whole_{whole} {}
    WorkBudget(const WorkBudget&) = delete;
    WorkBudget& operator=(const WorkBudget&) = delete;
    ~WorkBudget() = default;

    /// Spends `steps`. Returns false if fewer are left, and from then on always.
    [[nodiscard]] bool spend(std::uint64_t steps = 1) noexcept {
        if (exhausted_ || steps > limit_ - spent_) {
            exhausted_ = true;
            return false;
        }
        if (whole_ != nullptr && !whole_->spend(steps)) {
            exhausted_ = true;
            return false;
        }
        spent_ += steps;
        return true;
    }

    [[nodiscard]] bool exhausted() const noexcept { return exhausted_; }
    [[nodiscard]] std::uint64_t spent() const noexcept { return spent_; }

private:
    std::uint64_t limit_;
    std::uint64_t spent_ = 0;
    WorkBudget* whole_;
    bool exhausted_ = false;
};

} // namespace velmiro::local
