#include "velmiro_mcp/platform/local/zones/TZString.hpp"

#include <algorithm>

// A TZif file ends in a rule for all later times, in the form of POSIX's TZ variable:
//   std offset [dst [offset] , start[/time] , end[/time]]
// An offset is what must be added to local time to get UTC, so its sign is reversed here. A start
// or end is Mm.w.d (week w of month m, day d; week 5 is the last), Jn (day n of 1 to 365, never
// counting 29 February) or n (day n of 0 to 365). Times may be negative, or exceed a day.

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

struct RuleDay {
    enum class Form { weekday, withoutLeapDay, plain } form = Form::plain;
    int month = 1;
    int week = 1;
    int day = 0;
    seconds time = hours{2};

    [[nodiscard]] CivilTime in(int yearNumber) const {
        const std::chrono::year year{yearNumber};
        const CivilDay january{year / 1 / 1};
        switch (form) {
        case Form::weekday: {
            const std::chrono::weekday weekday{static_cast<unsigned>(day)};
            const auto inMonth = year / std::chrono::month{static_cast<unsigned>(month)};
            const CivilDay found = week == 5
                                       ? CivilDay{inMonth / weekday[std::chrono::last]}
                                       : CivilDay{inMonth / weekday[static_cast<unsigned>(week)]};
            return found + time;
        }
        case Form::withoutLeapDay:
            return january + days{day - 1 + (year.is_leap() && day >= 60 ? 1 : 0)} + time;
        case Form::plain:
            break;
        }
        return january + days{day} + time;
    }
};

/// Consumes a TZ string from its front. The first mismatch fails the whole.
class TZStringReader {
public:
    explicit TZStringReader(std::string_view text) : rest_{text} {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }
    [[nodiscard]] bool failed() const { return failed_; }

    bool accept(char wanted) {
        if (!rest_.starts_with(wanted)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    void expect(char wanted) { failed_ = !accept(wanted) || failed_; }

    void name() {
        const bool quoted = accept('<');
        const auto length = rest_.find_first_of(quoted ? ">" : "0123456789+-,<>");
        failed_ = failed_ || length == 0 || (quoted && length == std::string_view::npos);
        rest_.remove_prefix(std::min(length, rest_.size()));
        if (quoted) {
            expect('>');
        }
    }

    int number(int lowest, int highest) {
        int value = 0;
        bool any = false;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9' && value <= 1000) {
            value = value * 10 + (rest_.front() - '0');
            rest_.remove_prefix(1);
            any = true;
        }
        failed_ = failed_ || !any || value < lowest || value > highest;
        return value;
    }

    /// Reads [+-]hh[:mm[:ss]].
    seconds time() {
        const bool negative = accept('-');
        if (!negative) {
            accept('+');
        }
        seconds value = hours{number(0, 167)};
        if (accept(':')) {
            value += minutes{number(0, 59)};
            if (accept(':')) {
                value += seconds{number(0, 59)};
            }
        }
        return negative ? -value : value;
    }

    RuleDay day() {
        RuleDay result;
        if (accept('M')) {
            result.form = RuleDay::Form::weekday;
            result.month = number(1, 12);
            expect('.');
            result.week = number(1, 5);
            expect('.');
            result.day = number(0, 6);
        } else if (accept('J')) {
            result.form = RuleDay::Form::withoutLeapDay;
            result.day = number(1, 365);
        } else {
            result.day = number(0, 365);
        }
        if (accept('/')) {
            result.time = time();
        }
        return result;
    }

private:
    std::string_view rest_;
    bool failed_ = false;
};

UTCTime utcOf(CivilTime time, seconds offset) {
    return UTCTime{time.time_since_epoch()} - offset;
}

} // namespace

std::vector<Zone::Change> changesOfTZString(std::string_view text, int from) {
    TZStringReader reader{text};
    reader.name();
    const seconds standard = -reader.time();
    std::vector<Zone::Change> changes{
        {utcOf(CivilDay{std::chrono::year{1900} / 1 / 1}, standard), standard}};
    if (reader.atEnd()) {
        return reader.failed() ? std::vector<Zone::Change>{} : changes;
    }
    reader.name();
    const seconds summer =
        !reader.atEnd() && !reader.accept(',') ? -reader.time() : standard + hours{1};
    reader.accept(',');
    const RuleDay start = reader.day();
    reader.expect(',');
    const RuleDay end = reader.day();
    if (reader.failed() || !reader.atEnd()) {
        return {};
    }
    for (int year = from; year <= Zone::lastYear; ++year) {
        changes.push_back({utcOf(start.in(year), standard), summer});
        changes.push_back({utcOf(end.in(year), summer), standard});
    }
    return changes;
}

} // namespace velmiro::local
