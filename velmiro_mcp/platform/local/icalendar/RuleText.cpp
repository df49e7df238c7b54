#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

// Rules are read here, not by a library. A library reads a rule as a whole or not at all: one
// unknown part, such as some programs add, would reduce a series to its first day.

namespace velmiro::local {
namespace {

/// Calls `take` with each piece of `text` between separators.
template <typename Take>
void forEachPiece(std::string_view text, char separator, const Take& take) {
    while (!text.empty()) {
        const auto piece = text.substr(0, text.find(separator));
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
        take(piece);
    }
}

/// Reads a whole number; one beyond the type's range becomes its maximum. Returns `nullopt` for any
/// other text.
template <typename Number>
std::optional<Number> readNumber(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    Number number{};
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ptr != text.data() + text.size() || read.ec == std::errc::invalid_argument) {
        return std::nullopt;
    }
    return read.ec == std::errc{} ? number : std::numeric_limits<Number>::max();
}

std::optional<std::chrono::weekday> readWeekday(std::string_view text) {
    constexpr std::array<std::string_view, 7> names{"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    const auto* const name = std::ranges::find(names, text);
    return name == names.end()
               ? std::nullopt
               : std::optional{std::chrono::weekday{static_cast<unsigned>(name - names.begin())}};
}

/// Reads MO, +2MO or -1MO.
std::optional<WeekdayRule> readDay(std::string_view text) {
    constexpr int mostWeeks = 53;
    constexpr std::size_t nameSize = 2;
    if (text.size() < nameSize) {
        return std::nullopt;
    }
    const auto weekday = readWeekday(text.substr(text.size() - nameSize));
    const auto ordinal = text.size() == nameSize
                             ? std::optional{0}
                             : readNumber<int>(text.substr(0, text.size() - nameSize));
    if (!weekday || !ordinal || *ordinal < -mostWeeks || *ordinal > mostWeeks) {
        return std::nullopt;
    }
    return WeekdayRule{*weekday, *ordinal};
}

class RuleReader {
public:
    std::optional<RecurrenceRule> read(std::string_view text) {
        forEachPiece(text, ';', [&](std::string_view part) {
            const auto name = part.substr(0, part.find('='));
            take(name, part.substr(std::min(name.size() + 1, part.size())));
        });
        return hasFrequency_ && isGregorian_ ? std::optional{std::move(rule_)} : std::nullopt;
    }

private:
    struct NumberList {
        std::string_view name;
        std::vector<int> RecurrenceRule::* list;
        int lowest; ///< if negative, zero is excluded, and negative numbers count from the end
        int highest;
    };
    static constexpr std::array<NumberList, 8> lists{{
        {"BYSECOND", &RecurrenceRule::seconds, 0, 60},
        {"BYMINUTE", &RecurrenceRule::minutes, 0, 59},
        {"BYHOUR", &RecurrenceRule::hours, 0, 23},
        {"BYMONTHDAY", &RecurrenceRule::monthDays, -31, 31},
        {"BYYEARDAY", &RecurrenceRule::yearDays, -366, 366},
        {"BYWEEKNO", &RecurrenceRule::weeks, -53, 53},
        {"BYMONTH", &RecurrenceRule::months, 1, 12},
        {"BYSETPOS", &RecurrenceRule::positions, -366, 366},
    }};

    void take(std::string_view name, std::string_view value) {
        const auto* const list = std::ranges::find(lists, name, &NumberList::name);
        if (list != lists.end()) {
            takeNumbers(*list, value);
        } else if (name == "FREQ") {
            takeFrequency(value);
        } else if (name == "INTERVAL") {
            const auto interval = readNumber<int>(value);
            rule_.interval = interval && *interval > 0 ? *interval : rule_.interval;
        } else if (name == "COUNT") {
            const auto count = readNumber<std::int64_t>(value);
            rule_.count = count && *count >= 0 ? count : rule_.count;
        } else if (name == "UNTIL") {
            takeUntil(std::string{value});
        } else if (name == "WKST") {
            rule_.weekStart = readWeekday(value).value_or(rule_.weekStart);
        } else if (name == "BYDAY") {
            takeDays(value);
        } else if (name == "SKIP") {
            takeSkip(value);
        } else if (name == "RSCALE") {
            isGregorian_ = value.empty() || value == "GREGORIAN";
        }
    }

    void takeFrequency(std::string_view value) {
        using enum Frequency;
        constexpr std::array<std::pair<std::string_view, Frequency>, 7> names{
            {{"SECONDLY", secondly},
             {"MINUTELY", minutely},
             {"HOURLY", hourly},
             {"DAILY", daily},
             {"WEEKLY", weekly},
             {"MONTHLY", monthly},
             {"YEARLY", yearly}}};
        for (const auto& [name, frequency] : names) {
            if (name == value) {
                rule_.frequency = frequency;
                hasFrequency_ = true;
            }
        }
    }

    /// Also accepts 2026-12-31 and 2026-12-31T10:00:00Z, which some programs write.
    void takeUntil(std::string value) {
        std::erase_if(value, [](char letter) { return letter == '-' || letter == ':'; });
        if (auto until = readMoment(value, nullptr)) {
            rule_.until = std::move(until);
        }
    }

    void takeNumbers(const NumberList& known, std::string_view value) {
        std::vector<int> numbers;
        forEachPiece(value, ',', [&](std::string_view piece) {
            const auto number = readNumber<int>(piece);
            if (number && *number >= known.lowest && *number <= known.highest &&
                (*number != 0 || known.lowest == 0)) {
                // These clocks have no leap seconds.
                numbers.push_back(known.highest == 60 ? std::min(*number, 59) : *number);
            }
        });
        std::ranges::sort(numbers);
        numbers.erase(std::ranges::unique(numbers).begin(), numbers.end());
        if (!numbers.empty()) {
            rule_.*known.list = std::move(numbers);
        }
    }

    void takeDays(std::string_view value) {
        std::vector<WeekdayRule> days;
        forEachPiece(value, ',', [&](std::string_view piece) {
            const auto day = readDay(piece);
            if (day && std::ranges::find(days, *day) == days.end()) {
                days.push_back(*day);
            }
        });
        if (!days.empty()) {
            rule_.weekdays = std::move(days);
        }
    }

    void takeSkip(std::string_view value) {
        if (value == "BACKWARD") {
            rule_.skip = Skip::backward;
        } else if (value == "FORWARD") {
            rule_.skip = Skip::forward;
        } else if (value == "OMIT") {
            rule_.skip = Skip::omit;
        }
    }

    RecurrenceRule rule_;
    bool hasFrequency_ = false;
    bool isGregorian_ = true;
};

} // namespace

std::optional<RecurrenceRule> readRule(std::string_view text) {
    constexpr std::size_t longestRule = 16UL << 10; // more than all days of a year in every list
    if (text.size() > longestRule) {
        return std::nullopt;
    }
    std::string plain;
    for (const char letter : text) {
        if (letter != ' ' && letter != '\t' && letter != '\r') {
            plain +=
                letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
        }
    }
    return RuleReader{}.read(plain);
}

} // namespace velmiro::local
