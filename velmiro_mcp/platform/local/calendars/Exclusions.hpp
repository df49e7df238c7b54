#pragma once

#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <optional>
#include <vector>

namespace velmiro::local {

/// The occurrences that a series leaves out: those of its EXDATE and EXRULE, and those that another
/// event overrides. A date stands for the whole day.
class Exclusions {
public:
    /// Only times between `from` and `to` matter.
    Exclusions(CivilTime from, CivilTime to, UserClock& clock, WorkBudget& budget)
        : from_{from},
          to_{to},
          clock_{clock},
          budget_{budget} {}

    void add(const Moment& moment);
    void addAllFrom(const Moment& moment);

    /// Must be called after the last addition and before the first question.
    void finish();

    /// Returns whether the occurrence is left out that begins at `start`, when the series' own
    /// clock shows `civil`.
    [[nodiscard]] bool contains(Instant start, CivilTime civil) const;

private:
    CivilTime from_;
    CivilTime to_;
    UserClock& clock_;
    WorkBudget& budget_;
    std::vector<Instant> instants_;
    std::vector<CivilDay> days_;
    std::optional<Instant> allFrom_;
};

} // namespace velmiro::local
