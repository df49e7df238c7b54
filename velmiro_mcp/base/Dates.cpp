#include "velmiro_mcp/base/Dates.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// Time zones come from the C library, which both systems have; the C++ library's own database is
// missing from one of them. `tzset` before each use picks up a zone that changed while the program
// runs.

namespace velmiro {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_seconds;

sys_seconds utcOf(const WallTime& time) {
    const std::chrono::year_month_day day{std::chrono::year{time.year},
                                          std::chrono::month{static_cast<unsigned>(time.month)},
                                          std::chrono::day{static_cast<unsigned>(time.day)}};
    return std::chrono::sys_days{day} + hours{time.hour} + minutes{time.minute} +
           seconds{time.second};
}

/// Returns the offset of this machine's zone from UTC at `instant`.
seconds offsetAt(sys_seconds instant) {
    tzset();
    const std::time_t time = instant.time_since_epoch().count();
    std::tm local{};
    if (localtime_r(&time, &local) == nullptr) {
        return seconds{0};
    }
    return seconds{local.tm_gmtoff};
}

WallTime wallTimeOfUTC(sys_seconds utc) {
    const auto day = std::chrono::floor<days>(utc);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss time{utc - day};
    return {int{date.year()},
            static_cast<int>(unsigned{date.month()}),
            static_cast<int>(unsigned{date.day()}),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count())};
}

/// Scans the text of a date. Each step either consumes its field or marks the whole scan as failed;
/// the caller checks once, at the end.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_{text} {}

    /// Reads a field of at least `fewest` and at most `most` digits.
    int number(int fewest, int most) {
        int value = 0;
        int count = 0;
        while (count < most && !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            value = value * 10 + (rest_.front() - '0');
            rest_.remove_prefix(1);
            ++count;
        }
        failed_ = failed_ || count < fewest;
        return value;
    }

    void literal(char expected) {
        if (!accept(expected)) {
            failed_ = true;
        }
    }

    bool accept(char wanted) {
        if (rest_.empty() || rest_.front() != wanted) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    /// Reads the digits of a fraction of a second, at least one. Anything finer than a millisecond
    /// is dropped.
    milliseconds fraction() {
        int value = 0;
        int count = 0;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            if (count < 3) {
                value = value * 10 + (rest_.front() - '0');
            }
            rest_.remove_prefix(1);
            ++count;
        }
        failed_ = failed_ || count == 0;
        for (int digits = count; digits < 3; ++digits) {
            value *= 10;
        }
        return milliseconds{value};
    }

    /// Reads Z, or a signed offset such as +02:00.
    minutes offset() {
        if (accept('Z')) {
            return minutes{0};
        }
        const bool west = accept('-');
        if (!west) {
            literal('+');
        }
        const int hour = number(2, 2);
        literal(':');
        const int minute = number(2, 2);
        failed_ = failed_ || hour > 23 || minute > 59;
        const minutes size = hours{hour} + minutes{minute};
        return west ? -size : size;
    }

    [[nodiscard]] bool finished() const { return !failed_ && rest_.empty(); }

private:
    std::string_view rest_;
    bool failed_ = false;
};

void readDay(Scanner& scanner, WallTime& time) {
    time.year = scanner.number(4, 4);
    scanner.literal('-');
    time.month = scanner.number(1, 2);
    scanner.literal('-');
    time.day = scanner.number(1, 2);
}

std::optional<Instant> readWithOffset(std::string_view text, bool fractional) {
    Scanner scanner{text};
    WallTime time;
    readDay(scanner, time);
    scanner.literal('T');
    time.hour = scanner.number(1, 2);
    scanner.literal(':');
    time.minute = scanner.number(1, 2);
    scanner.literal(':');
    time.second = scanner.number(1, 2);
    milliseconds fraction{0};
    if (fractional) {
        scanner.literal('.');
        fraction = scanner.fraction();
    }
    const minutes offset = scanner.offset();
    if (!scanner.finished() || !isValid(time)) {
        return std::nullopt;
    }
    return utcOf(time) + fraction - offset;
}

std::optional<Instant> readLocal(std::string_view text, char separator, bool withSeconds) {
    Scanner scanner{text};
    WallTime time;
    readDay(scanner, time);
    scanner.literal(separator);
    time.hour = scanner.number(1, 2);
    scanner.literal(':');
    time.minute = scanner.number(1, 2);
    if (withSeconds) {
        scanner.literal(':');
        time.second = scanner.number(1, 2);
    }
    if (!scanner.finished() || !isValid(time)) {
        return std::nullopt;
    }
    return instantOf(time);
}

std::optional<Instant> readBareDay(std::string_view text) {
    Scanner scanner{text};
    WallTime time;
    readDay(scanner, time);
    if (!scanner.finished() || !isValid(time)) {
        return std::nullopt;
    }
    return startOfDay(time.year, time.month, time.day);
}

} // namespace

bool isValid(const WallTime& time) noexcept {
    const std::chrono::year_month_day day{std::chrono::year{time.year},
                                          std::chrono::month{static_cast<unsigned>(time.month)},
                                          std::chrono::day{static_cast<unsigned>(time.day)}};
    return day.ok() && time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
           time.second >= 0 && time.second < 60;
}

WallTime wallTime(Instant instant) {
    const auto utc = std::chrono::floor<seconds>(instant);
    return wallTimeOfUTC(utc + offsetAt(utc));
}

Instant instantOf(const WallTime& time) {
    // The offsets a day before and a day after differ only if the clock changes in between. Each
    // gives a candidate, which is right if the clock shows the given time then. In a fold both are
    // right, and the earlier offset's is the first. In a gap neither is, and the offset from before
    // the gap carries the time across it.
    const sys_seconds asUTC = utcOf(time);
    const seconds before = offsetAt(asUTC - days{1});
    const seconds after = offsetAt(asUTC + days{1});
    for (const seconds offset : {before, after}) {
        if (offsetAt(asUTC - offset) == offset) {
            return asUTC - offset;
        }
    }
    return asUTC - before;
}

Instant startOfDay(int year, int month, int day) {
    const WallTime midnight{year, month, day};
    const auto found = std::chrono::floor<seconds>(instantOf(midnight));
    if (wallTime(found) == midnight) {
        return found;
    }
    // The clock skips midnight: the day begins where the offset changes.
    sys_seconds early = found - days{1};
    sys_seconds late = found;
    const seconds lateOffset = offsetAt(late);
    while (late - early > seconds{1}) {
        const sys_seconds middle = early + (late - early) / 2;
        (offsetAt(middle) == lateOffset ? late : early) = middle;
    }
    return late;
}

Instant startOfToday() {
    const Instant now = currentInstant();
    const WallTime today = wallTime(now);
    return startOfDay(today.year, today.month, today.day);
}

std::string dateText(Instant instant) {
    // An offset is written in whole minutes, but zones of the nineteenth century had seconds in
    // theirs. Because the offset is rounded before it is applied, the text names the same instant.
    const auto utc = std::chrono::floor<seconds>(instant);
    const minutes offset = std::chrono::round<minutes>(offsetAt(utc));
    const WallTime local = wallTimeOfUTC(utc + offset);
    const auto size = std::chrono::abs(offset);
    std::array<char, 64> text{};
    const auto written = offset == minutes{0} ? 'Z' : (offset < minutes{0} ? '-' : '+');
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d%c", local.year,
                      local.month, local.day, local.hour, local.minute, local.second, written);
    std::string result(text.data(), static_cast<std::size_t>(length));
    if (offset != minutes{0}) {
        const int more =
            std::snprintf(text.data(), text.size(), "%02d:%02d", static_cast<int>(size / hours{1}),
                          static_cast<int>((size % hours{1}) / minutes{1}));
        result.append(text.data(), static_cast<std::size_t>(more));
    }
    return result;
}

std::optional<Instant> parseDate(std::string_view text) {
    if (const auto exact = readWithOffset(text, false)) {
        return exact;
    }
    if (const auto fractional = readWithOffset(text, true)) {
        return fractional;
    }
    if (const auto toTheSecond = readLocal(text, 'T', true)) {
        return toTheSecond;
    }
    if (const auto toTheMinute = readLocal(text, 'T', false)) {
        return toTheMinute;
    }
    if (const auto spaced = readLocal(text, ' ', false)) {
        return spaced;
    }
    return readBareDay(text);
}

} // namespace velmiro
