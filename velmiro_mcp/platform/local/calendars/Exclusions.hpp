#pragma once

#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <optional>
#include <vector>

namespace velmiro::local {

/// The occurrences that a series does without: EXDATE, EXRULE, and those that another event
/// replaces. A date among the times of a timed series stands for all that day.
class Exclusions {
public:
    /// Of times outside `from` and `to` there is no need to know.
    Exclusions(bool allDay, CivilTime from, CivilTime to, UserClock& clock, WorkBudget& budget)
        : allDay_{allDay},
          from_{from},
          to_{to},
          clock_{clock},
          budget_{budget} {}

    void add(const Moment& moment);
    void addAllFrom(const Moment& moment);

    /// Comes after all additions and before all questions.
    void finish();

    /// Whether the occurrence is one of them that begins at `start`, when the clocks of the series
    /// show `civil`.
    [[nodiscard]] bool contains(Instant start, CivilTime civil) const;

private:
    bool allDay_;
    CivilTime from_;
    CivilTime to_;
    UserClock& clock_;
    WorkBudget& budget_;
    std::vector<Instant> instants_;
    std::vector<CivilDay> days_;
    std::optional<Instant> allFrom_;
};

} // namespace velmiro::local
