#include "velmiro_mcp/platform/local/calendars/Series.hpp"

#include "velmiro_mcp/platform/local/calendars/Exclusions.hpp"
#include "velmiro_mcp/platform/local/calendars/Span.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

// A series is expanded in the civil time of its start, a little beyond the range asked for. Only
// then are its times turned into instants, and the instants decide about the range, UNTIL and
// overrides.

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::seconds;

/// More than the largest difference between two zones.
constexpr days slack{2};

/// Returns whether an occurrence is not after UNTIL. A date includes that whole day. A time in UTC
/// is compared as an instant; for all-day events, 00:00 UTC is compared as the date that it most
/// likely stands for.
bool isWithin(const Moment& until, const Moment& moment, Instant start, UserClock& clock) {
    if (until.isDate) {
        return dayOf(moment.civil) <= until.civil;
    }
    const bool isDateInUTC = moment.isDate && until.civil == dayOf(until.civil);
    return until.zone && !isDateInUTC ? start <= clock.instantOf(until)
                                      : moment.civil <= until.civil;
}

/// Returns the day that a moment stands for in an all-day series. Some programs write its days as
/// times in UTC: as 00:00 UTC, or as when the day begins on the user's clock.
CivilDay dayMeantBy(const Moment& moment, UserClock& clock) {
    const CivilDay day = dayOf(moment.civil);
    if (moment.zone != Zone::utc() || moment.civil == day) {
        return day;
    }
    return dayOf(UserClock::civil(clock.instantOf(moment), nullptr));
}

class Series {
public:
    Series(const StoredEvent& event, const TimeRange& range, UserClock& clock, WorkBudget& budget)
        : event_{event},
          start_{event.start},
          range_{range},
          clock_{clock},
          budget_{budget},
          span_{spanOf(start_, event.end, event.duration, clock)} {
        const CivilDay last{std::chrono::year{10'000} / 12 / 31};
        const CivilTime asked{std::chrono::floor<seconds>(range.start).time_since_epoch()};
        from_ = std::max(start_.civil, asked - slack - span_.days - span_.time);
        to_ = std::min<CivilTime>(
            last, CivilTime{std::chrono::floor<seconds>(range.end).time_since_epoch()} + slack);
    }

    std::vector<Occurrence> run(std::span<const StoredEvent* const> overrides) {
        const Exclusions excluded = exclusions(overrides);
        add(start_, span_);
        for (const RecurrenceRule& rule : event_.rules) {
            for (const Moment& moment : timesOf(rule)) {
                add(moment, span_);
            }
        }
        for (const MomentOrPeriod& rdate : event_.rdates) {
            if (rdate.start.civil <= to_ && budget_.spend()) {
                addRDate(rdate);
            }
        }
        return remaining(excluded);
    }

private:
    struct Candidate {
        Occurrence occurrence;
        std::size_t order; // of several with the same start, the first is kept
    };

    void add(const Moment& moment, const Span& span) {
        const Instant start = clock_.instantOf(moment);
        const Instant end = endOf(moment, span, clock_);
        if (range_.overlaps(start, end)) {
            const CivilTime civil = moment.isDate || moment.zone == start_.zone
                                        ? moment.civil
                                        : UserClock::civil(start, start_.zone.get());
            found_.push_back({{&event_, start, end, civil}, found_.size()});
        }
    }

    /// Returns a rule's times near the range and up to its UNTIL.
    std::vector<Moment> timesOf(const RecurrenceRule& rule) {
        const CivilTime to = rule.until ? std::min(to_, rule.until->civil + slack) : to_;
        std::vector<Moment> times;
        for (const CivilTime civil : recurrences(rule, start_.civil, from_, to, budget_)) {
            const Moment moment{civil, start_.isDate, start_.zone};
            if (!rule.until || isWithin(*rule.until, moment, clock_.instantOf(moment), clock_)) {
                times.push_back(moment);
            }
        }
        return times;
    }

    /// Returns a moment from a property of the series: a time without a zone is on the series'
    /// clock, and in an all-day series a time is its day.
    [[nodiscard]] Moment onClockOfSeries(Moment moment) {
        if (start_.isDate) {
            return {dayMeantBy(moment, clock_), true, nullptr};
        }
        if (!moment.isDate && !moment.zone) {
            moment.zone = start_.zone;
        }
        return moment;
    }

    /// Adds an RDATE. One that is a date in a timed series is that day at the usual time.
    void addRDate(const MomentOrPeriod& rdate) {
        Moment moment = onClockOfSeries(rdate.start);
        if (moment.isDate && !start_.isDate) {
            moment = {moment.civil + (start_.civil - dayOf(start_.civil)), false, start_.zone};
        }
        const bool isPeriod = rdate.end || rdate.duration;
        add(moment, isPeriod ? spanOf(moment, rdate.end, rdate.duration, clock_) : span_);
    }

    Exclusions exclusions(std::span<const StoredEvent* const> overrides) {
        Exclusions excluded{from_ - slack, to_, clock_, budget_};
        for (const MomentOrPeriod& exdate : event_.exdates) {
            excluded.add(onClockOfSeries(exdate.start));
        }
        for (const RecurrenceRule& rule : event_.exceptionRules) {
            for (const Moment& moment : timesOf(rule)) {
                excluded.add(moment);
            }
        }
        for (const StoredEvent* overriding : overrides) {
            if (!overriding->recurrenceID) {
                continue;
            }
            // How an override changes all later occurrences cannot be told from it, so it counts
            // for the one occurrence that it names.
            const Moment replaced = onClockOfSeries(*overriding->recurrenceID);
            if (overriding->cancelled && overriding->thisAndFuture) {
                excluded.addAllFrom(replaced);
            } else {
                excluded.add(replaced);
            }
        }
        excluded.finish();
        return excluded;
    }

    std::vector<Occurrence> remaining(const Exclusions& excluded) {
        const auto startOf = [](const Candidate& candidate) { return candidate.occurrence.start; };
        std::ranges::sort(found_, {}, [](const Candidate& candidate) {
            return std::pair{candidate.occurrence.start, candidate.order};
        });
        found_.erase(std::ranges::unique(found_, {}, startOf).begin(), found_.end());
        std::vector<Occurrence> result;
        for (const Candidate& candidate : found_) {
            if (!excluded.contains(candidate.occurrence.start, candidate.occurrence.civil)) {
                result.push_back(candidate.occurrence);
            }
        }
        return result;
    }

    const StoredEvent& event_;
    const Moment& start_;
    const TimeRange& range_;
    UserClock& clock_;
    WorkBudget& budget_;
    Span span_;
    CivilTime from_;
    CivilTime to_;
    std::vector<Candidate> found_;
};

} // namespace

std::vector<Occurrence> seriesOccurrences(const StoredEvent& event,
                                          std::span<const StoredEvent* const> overrides,
                                          const TimeRange& range, UserClock& clock,
                                          WorkBudget& budget) {
    return Series{event, range, clock, budget}.run(overrides);
}

} // namespace velmiro::local
