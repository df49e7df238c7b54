#include "velmiro_mcp/platform/local/Libical.hpp"

#include "velmiro_mcp/platform/local/SharedLibrary.hpp"
#include "velmiro_mcp/platform/local/Zone.hpp"

#include <libical/ical.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <span>
#include <strings.h>

namespace velmiro::local {
namespace {

struct Libical {
    SharedLibrary library{"libical", "libical.so." + std::to_string(ICAL_MAJOR_VERSION)};
    VELMIRO_LIBRARY_FUNCTION(icaldurationtype_from_string);
    VELMIRO_LIBRARY_FUNCTION(icaldurationtype_is_bad_duration);
    VELMIRO_LIBRARY_FUNCTION(icalrecurrencetype_day_day_of_week);
    VELMIRO_LIBRARY_FUNCTION(icalrecurrencetype_day_position);
    VELMIRO_LIBRARY_FUNCTION(icalrecurrencetype_from_string);
    VELMIRO_LIBRARY_FUNCTION(icaltime_is_null_time);
    VELMIRO_LIBRARY_FUNCTION(icaltime_is_utc);
};

const Libical& libical() {
    static const Libical loaded;
    return loaded;
}

std::optional<Frequency> frequencyOf(icalrecurrencetype_frequency frequency) {
    switch (frequency) {
    case ICAL_SECONDLY_RECURRENCE:
        return Frequency::secondly;
    case ICAL_MINUTELY_RECURRENCE:
        return Frequency::minutely;
    case ICAL_HOURLY_RECURRENCE:
        return Frequency::hourly;
    case ICAL_DAILY_RECURRENCE:
        return Frequency::daily;
    case ICAL_WEEKLY_RECURRENCE:
        return Frequency::weekly;
    case ICAL_MONTHLY_RECURRENCE:
        return Frequency::monthly;
    case ICAL_YEARLY_RECURRENCE:
        return Frequency::yearly;
    default:
        return std::nullopt;
    }
}

/// libical counts the days of the week from Sunday, which is 1.
std::chrono::weekday weekdayOf(icalrecurrencetype_weekday day) {
    return std::chrono::weekday{static_cast<unsigned>(std::max<int>(day, ICAL_SUNDAY_WEEKDAY)) - 1};
}

/// The numbers of one BY list that lie from `lowest` to `highest`, zero being none of them unless
/// it is the lowest.
std::vector<int> listOf(std::span<const short> numbers, int lowest, int highest) {
    std::vector<int> list;
    for (const short number : numbers) {
        if (number == ICAL_RECURRENCE_ARRAY_MAX) {
            break;
        }
        if (number >= lowest && number <= highest && (number != 0 || lowest == 0)) {
            list.push_back(number);
        }
    }
    return list;
}

std::optional<Moment> untilOf(const icaltimetype& until) {
    if (libical().icaltime_is_null_time(until) != 0) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{until.year},
                                           std::chrono::month{static_cast<unsigned>(until.month)},
                                           std::chrono::day{static_cast<unsigned>(until.day)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    const CivilDay day{date};
    if (until.is_date != 0) {
        return Moment{day, true, nullptr};
    }
    return Moment{day + std::chrono::hours{until.hour} + std::chrono::minutes{until.minute} +
                      std::chrono::seconds{until.second},
                  false, libical().icaltime_is_utc(until) != 0 ? Zone::utc() : nullptr};
}

/// COUNT as it is written: libical keeps the remainder of a number too large for it.
std::optional<std::int64_t> countOf(const std::string& text) {
    std::string upper = text;
    std::ranges::transform(upper, upper.begin(), [](unsigned char letter) {
        return static_cast<char>(std::toupper(letter));
    });
    const auto name = upper.find("COUNT=");
    if (name == std::string::npos) {
        return std::nullopt;
    }
    std::int64_t count = 0;
    const char* digits = upper.c_str() + name + 6;
    const auto read = std::from_chars(digits, upper.c_str() + upper.size(), count);
    return read.ec == std::errc{} ? std::optional{count} : std::nullopt; // too large: endless
}

} // namespace

std::optional<RecurrenceRule> readRule(const std::string& text) {
    const icalrecurrencetype read = libical().icalrecurrencetype_from_string(text.c_str());
    const std::unique_ptr<char, decltype(&std::free)> calendar{read.rscale, &std::free};
    const auto frequency = frequencyOf(read.freq);
    if (!frequency || (calendar && strcasecmp(calendar.get(), "GREGORIAN") != 0)) {
        return std::nullopt;
    }
    RecurrenceRule rule;
    rule.frequency = *frequency;
    rule.interval = std::max<int>(read.interval, 1);
    rule.count = countOf(text);
    rule.until = untilOf(read.until);
    if (read.week_start != ICAL_NO_WEEKDAY) {
        rule.weekStart = weekdayOf(read.week_start);
    }
    rule.seconds = listOf(read.by_second, 0, 60);
    std::ranges::replace(rule.seconds, 60, 59); // these clocks have no leap seconds
    rule.minutes = listOf(read.by_minute, 0, 59);
    rule.hours = listOf(read.by_hour, 0, 23);
    rule.monthDays = listOf(read.by_month_day, -31, 31);
    rule.yearDays = listOf(read.by_year_day, -366, 366);
    rule.weeks = listOf(read.by_week_no, -53, 53);
    rule.months = listOf(read.by_month, 1, 12);
    rule.positions = listOf(read.by_set_pos, -366, 366);
    for (const short day : read.by_day) {
        if (day == ICAL_RECURRENCE_ARRAY_MAX) {
            break;
        }
        rule.weekdays.push_back({weekdayOf(libical().icalrecurrencetype_day_day_of_week(day)),
                                 libical().icalrecurrencetype_day_position(day)});
    }
    return rule;
}

std::optional<NominalDuration> readDuration(const std::string& text) {
    const icaldurationtype read = libical().icaldurationtype_from_string(text.c_str());
    if (libical().icaldurationtype_is_bad_duration(read) != 0) {
        return std::nullopt;
    }
    const int sign = read.is_neg != 0 ? -1 : 1;
    const std::chrono::days days{7 * static_cast<std::int64_t>(read.weeks) + read.days};
    const std::chrono::seconds time = std::chrono::hours{read.hours} +
                                      std::chrono::minutes{read.minutes} +
                                      std::chrono::seconds{read.seconds};
    constexpr std::chrono::years longest{10'000}; // beyond that, dates cannot be written
    if (std::chrono::abs(days) > longest || std::chrono::abs(time) > longest) {
        return std::nullopt;
    }
    return NominalDuration{sign * days, sign * time};
}

} // namespace velmiro::local
