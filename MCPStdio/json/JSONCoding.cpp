#include "MCPStdio/json/JSONCoding.hpp"

#include "MCPStdio/json/JSONWriter.hpp"

#include <array>
#include <cstdio>

namespace MCPStdio {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

std::string dateTextUTC(std::chrono::sys_seconds time) {
    const auto day = std::chrono::floor<days>(time);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{time - day};
    std::array<char, 48> text{};
    const int length = std::snprintf(
        text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", int{date.year()},
        unsigned{date.month()}, unsigned{date.day()}, static_cast<int>(clock.hours().count()),
        static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<std::chrono::sys_seconds> readDateTextUTC(std::string_view text) {
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != form.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool fits = form[i] == 'd' ? text[i] >= '0' && text[i] <= '9' : text[i] == form[i];
        if (!fits) {
            return std::nullopt;
        }
    }
    const auto number = [&](std::size_t at, std::size_t length) {
        unsigned value = 0;
        for (const char digit : text.substr(at, length)) {
            value = value * 10 + static_cast<unsigned>(digit - '0');
        }
        return value;
    };
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(number(0, 4))},
                                           std::chrono::month{number(5, 2)},
                                           std::chrono::day{number(8, 2)}};
    const unsigned hour = number(11, 2);
    const unsigned minute = number(14, 2);
    const unsigned second = number(17, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days{date} + hours{hour} + minutes{minute} + seconds{second};
}

namespace detail {

static std::string written(const JSONPath& path) {
    if (path.parent == nullptr) {
        return {};
    }
    std::string text = written(*path.parent);
    if (path.index) {
        return text + '[' + std::to_string(*path.index) + ']';
    }
    if (!text.empty()) {
        text += '.';
    }
    return text.append(path.name);
}

void failDecoding(const JSONPath& path, std::string_view problem) {
    const std::string place = path.parent == nullptr ? "the value" : "‘" + written(path) + "’";
    throw JSONError{(place + ' ').append(problem)};
}

double finite(double number) {
    if (!std::isfinite(number)) {
        throw JSONError{"a number that is not finite has no JSON form"};
    }
    return number;
}

JSONValue checked(const JSONValue& value) {
    return JSONValue::parse(compactEncoder().write(value));
}

} // namespace detail
} // namespace MCPStdio
