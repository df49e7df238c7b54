#include "osascript/mail/HeaderDate.hpp"

#include "osascript/mail/Header.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace velmiro::osascript {
namespace {

constexpr bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

constexpr char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                : character;
}

constexpr bool isLetter(char character) {
    return lower(character) >= 'a' && lower(character) <= 'z';
}

constexpr bool isSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// What is left of a text that is read from its beginning. Functions that fail take none of it.
class Rest {
public:
    explicit Rest(std::string_view text) : text_{text} {}

    /// Takes the characters of a kind, up to `most`.
    template <typename Kind>
    std::string_view take(Kind isOfKind, std::size_t most = std::string_view::npos) {
        const std::string_view piece = text_.substr(0, most);
        const auto end = std::ranges::find_if_not(piece, isOfKind);
        return takeFirst(static_cast<std::size_t>(end - piece.begin()));
    }

    bool take(char character) { return text_.starts_with(character) && !takeFirst(1).empty(); }

    /// Takes a number of so many digits, or one less down to `least`.
    std::optional<int> number(std::size_t least, std::size_t most) {
        const Rest before = *this;
        const std::string_view digits = take(isDigit, most);
        if (digits.size() < least) {
            *this = before;
            return std::nullopt;
        }
        int value = 0;
        for (const char digit : digits) {
            value = value * 10 + (digit - '0');
        }
        return value;
    }

    /// Returns whether the text ends here, but for white space or a comment and more.
    [[nodiscard]] bool isAtEnd() const {
        return text_.empty() || isSpace(text_.front()) || text_.front() == '(';
    }

private:
    std::string_view takeFirst(std::size_t count) {
        const std::string_view first = text_.substr(0, count);
        text_.remove_prefix(count);
        return first;
    }

    std::string_view text_;
};

bool hasName(std::string_view text, std::string_view name) {
    return std::ranges::equal(text, name, {}, lower);
}

std::optional<unsigned> monthNamed(std::string_view text) {
    constexpr std::array<std::string_view, 12> names{"jan", "feb", "mar", "apr", "may", "jun",
                                                     "jul", "aug", "sep", "oct", "nov", "dec"};
    for (unsigned month = 0; month < names.size(); ++month) {
        if (text.size() <= 9 && hasName(text.substr(0, 3), names[month])) {
            return month + 1;
        }
    }
    return std::nullopt;
}

constexpr int zoneByName(std::string_view text) {
    struct Zone {
        std::string_view name;
        int hours;
    };
    constexpr std::array<Zone, 8> zones{{{"est", -5},
                                         {"edt", -4},
                                         {"cst", -6},
                                         {"cdt", -5},
                                         {"mst", -7},
                                         {"mdt", -6},
                                         {"pst", -8},
                                         {"pdt", -7}}};
    const auto zone =
        std::ranges::find_if(zones, [&](const Zone& one) { return hasName(text, one.name); });
    return zone == zones.end() ? 0 : zone->hours * 60;
}

/// Takes a zone, as minutes east of UTC.
std::optional<int> zoneFrom(Rest& rest) {
    rest.take(isSpace);
    const bool isWest = rest.take('-');
    if (isWest || rest.take('+')) {
        const auto offset = rest.number(4, 4);
        if (!offset) {
            return std::nullopt;
        }
        const int minutes = *offset / 100 * 60 + *offset % 100;
        return isWest ? -minutes : minutes;
    }
    const std::string_view name = rest.take(isLetter);
    return name.empty() || name.size() > 5 ? std::nullopt : std::optional{zoneByName(name)};
}

struct DayOfYear {
    int day = 0;
    unsigned month = 0;
    int year = 0;
};

bool isBetweenNumbers(char character) {
    return isSpace(character) || character == '-';
}

/// Takes the name of the day, if there is one.
void skipDayName(Rest& rest) {
    const Rest before = rest;
    const std::string_view name = rest.take(isLetter);
    const bool hasComma = rest.take(',');
    const bool isFollowed = !rest.take(isSpace).empty() || hasComma;
    if (name.size() < 3 || name.size() > 9 || !isFollowed) {
        rest = before;
    }
}

std::optional<DayOfYear> dayFrom(Rest& rest) {
    rest.take(isSpace);
    skipDayName(rest);
    const auto day = rest.number(1, 2);
    if (!day || rest.take(isBetweenNumbers).empty()) {
        return std::nullopt;
    }
    const auto month = monthNamed(rest.take(isLetter));
    if (!month || rest.take(isBetweenNumbers).empty()) {
        return std::nullopt;
    }
    const std::string_view year = rest.take(isDigit, 5);
    if ((year.size() != 2 && year.size() != 4) || rest.take(isSpace).empty()) {
        return std::nullopt;
    }
    const int number = *Rest{year}.number(2, 4);
    constexpr int firstOfLastCentury = 50;
    const int century = year.size() == 4 ? 0 : number < firstOfLastCentury ? 2000 : 1900;
    return DayOfYear{*day, *month, century + number};
}

/// Takes a time of day.
std::optional<std::chrono::seconds> timeFrom(Rest& rest) {
    const auto hour = rest.number(1, 2);
    if (!hour || !rest.take(':')) {
        return std::nullopt;
    }
    const auto minute = rest.number(2, 2);
    if (!minute || *hour > 23 || *minute > 59) {
        return std::nullopt;
    }
    const auto second = rest.take(':') ? rest.number(2, 2) : 0;
    if (!second) {
        return std::nullopt;
    }
    return std::chrono::hours{*hour} + std::chrono::minutes{*minute} +
           std::chrono::seconds{std::min(*second, 59)};
}

} // namespace

std::optional<double> headerDate(std::string_view text) {
    constexpr std::size_t longest = 200;
    Rest rest{text.substr(0, longest)};
    const auto date = dayFrom(rest);
    const auto time = date ? timeFrom(rest) : std::nullopt;
    if (!time) {
        return std::nullopt;
    }
    const std::chrono::year_month_day day{std::chrono::year{date->year},
                                          std::chrono::month{date->month},
                                          std::chrono::day{static_cast<unsigned>(date->day)}};
    Rest afterZone = rest;
    auto zone = zoneFrom(afterZone);
    if (!zone || !afterZone.isAtEnd()) {
        zone = 0;
        afterZone = rest;
    }
    if (!day.ok() || !afterZone.isAtEnd()) {
        return std::nullopt;
    }
    const std::chrono::milliseconds since1970 =
        std::chrono::sys_days{day}.time_since_epoch() + *time - std::chrono::minutes{*zone};
    return static_cast<double>(since1970.count());
}

double receivedDate(std::string_view header, double latest, double now) {
    const auto believed = [&](std::string_view text) {
        const auto date = headerDate(text);
        return date && *date <= now ? date : std::nullopt;
    };
    const std::string stamp = firstValue(header, "received").value_or("");
    auto date = believed(std::string_view{stamp}.substr(stamp.rfind(';') + 1));
    if (!date) {
        date = believed(firstValue(header, "date").value_or(""));
    }
    return std::min(date.value_or(latest), latest);
}

std::optional<double> deliveryDate(std::string_view name, double now) {
    constexpr double second = 1000;
    constexpr double day = 86'400 * second;
    constexpr double in1990 = 631'152'000 * second;
    const auto digits =
        static_cast<std::size_t>(std::ranges::find_if_not(name, isDigit) - name.begin());
    if ((digits != 9 && digits != 10) || digits == name.size() || name[digits] != '.') {
        return std::nullopt;
    }
    std::int64_t seconds = 0;
    for (const char digit : name.substr(0, digits)) {
        seconds = seconds * 10 + (digit - '0');
    }
    const auto time = static_cast<double>(seconds) * second;
    return time >= in1990 && time <= now + day ? std::optional{time} : std::nullopt;
}

double latestByName(std::string_view name, double now) {
    constexpr double day = 86'400'000;
    const auto delivered = deliveryDate(name, now);
    return delivered ? *delivered + day : std::numeric_limits<double>::infinity();
}

} // namespace velmiro::osascript
