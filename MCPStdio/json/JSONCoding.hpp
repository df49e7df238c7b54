#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <chrono>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// JSON forms of application types. A type lists its fields once, one per line:
///
///     struct Person {
///         std::string name;
///         std::optional<int> age;
///
///         static constexpr auto jsonFields() {
///             return std::tuple{field("name", &Person::name, "the full name"),
///                               field("age", &Person::age)};
///         }
///     };
///
/// and is converted both ways: `JSONValue::encoding(person)`, `value.decode<Person>()`. The same
/// list yields its JSON Schema (see JSONSchema.hpp). A field is a bool, a number, a string, a point
/// in time (ISO 8601 text in UTC, to the second), an enumeration, a JSONValue, another such type,
/// or an optional, a vector or a string-keyed map of these. An enumeration lists its names:
///
///     enum class Unit { metre, foot };
///
///     constexpr auto jsonNames(Unit) {
///         return std::array{JSONName{"m", Unit::metre}, JSONName{"ft", Unit::foot}};
///     }
///
/// Encoding omits a field that is an empty optional. It throws JSONError for what has no JSON form,
/// such as NaN or a value without a name. Decoding reads a missing or null member as an empty
/// optional and ignores members that no field names. If a member is missing or does not fit its
/// field, it throws a JSONError whose text names the member by its path: ‘friends[2].name’ must be
/// a string.
namespace MCPStdio {

/// A field of `Type`: its key in JSON, the member that holds its value, and what it means.
template <typename Type, typename Member>
struct JSONField {
    std::string_view name;
    Member Type::* member;
    std::string_view description{}; ///< for the schema; may be empty
};

/// Returns a field. Its texts must outlive it; normally they are literals.
template <typename Type, typename Member>
constexpr JSONField<Type, Member> field(std::string_view name, Member Type::* member,
                                        std::string_view description = {}) {
    return {name, member, description};
}

/// A value of an enumeration, and the text that stands for it in JSON.
template <typename Enumeration>
struct JSONName {
    std::string_view name;
    Enumeration value;
};

/// An enumeration that lists its names.
template <typename Type>
concept HasJSONNames = std::is_enum_v<Type> && requires(Type value) { jsonNames(value); };

/// A type that lists its fields.
template <typename Type>
concept HasJSONFields = requires { Type::jsonFields(); };

/// Writes a time in the form 2026-10-14T13:00:00Z.
std::string dateTextUTC(std::chrono::sys_seconds time);
/// Reads a time in that form; nullopt for any other text.
std::optional<std::chrono::sys_seconds> readDateTextUTC(std::string_view text);

namespace detail {

template <typename>
inline constexpr bool isOptional = false;
template <typename Inner>
inline constexpr bool isOptional<std::optional<Inner>> = true;
template <typename>
inline constexpr bool isVector = false;
template <typename Inner>
inline constexpr bool isVector<std::vector<Inner>> = true;
template <typename>
inline constexpr bool isMap = false;
template <typename Inner>
inline constexpr bool isMap<std::map<std::string, Inner>> = true;
template <typename>
inline constexpr bool isTime = false;
template <typename Duration>
inline constexpr bool isTime<std::chrono::sys_time<Duration>> = true;
/// Types that may stand for a text or for a number, and are therefore not supported.
template <typename Type>
inline constexpr bool isCharacter =
    std::same_as<Type, char> || std::same_as<Type, wchar_t> || std::same_as<Type, char8_t> ||
    std::same_as<Type, char16_t> || std::same_as<Type, char32_t>;
template <typename>
inline constexpr bool isUnknown = false;

/// The place of a value within the one that is decoded. Written out only for an error.
struct JSONPath {
    const JSONPath* parent = nullptr;   ///< null for the whole value
    std::string_view name{};            ///< of a member
    std::optional<std::size_t> index{}; ///< of an element
};

/// Throws a JSONError that names the place and says what is wrong there.
[[noreturn]] void failDecoding(const JSONPath& path, std::string_view problem);
/// Returns the number; throws JSONError if it is not finite.
double finite(double number);
/// Returns the value as it reads back from its text; throws JSONError if it has none.
JSONValue checked(const JSONValue& value);

template <typename Value>
JSONValue encode(const Value& value) {
    if constexpr (HasJSONFields<Value>) {
        JSONValue object = JSONValue::object();
        const auto add = [&](const auto& named) {
            const auto& member = value.*named.member;
            if constexpr (isOptional<std::remove_cvref_t<decltype(member)>>) {
                if (!member) {
                    return;
                }
            }
            object.set(named.name, encode(member));
        };
        std::apply([&](const auto&... named) { (add(named), ...); }, Value::jsonFields());
        return object;
    } else if constexpr (std::same_as<Value, JSONValue>) {
        return checked(value);
    } else if constexpr (isOptional<Value>) {
        return value ? encode(*value) : JSONValue{};
    } else if constexpr (isVector<Value>) {
        JSONValue array = JSONValue::array();
        for (const auto& element : value) {
            array.append(encode(element));
        }
        return array;
    } else if constexpr (isMap<Value>) {
        JSONValue object = JSONValue::object();
        for (const auto& [key, member] : value) {
            object.set(key, encode(member));
        }
        return object;
    } else if constexpr (HasJSONNames<Value>) {
        for (const auto& named : jsonNames(value)) {
            if (named.value == value) {
                return named.name;
            }
        }
        throw JSONError{"a value of an enumeration has no name"};
    } else if constexpr (isTime<Value>) {
        return dateTextUTC(std::chrono::floor<std::chrono::seconds>(value));
    } else if constexpr (std::floating_point<Value>) {
        return finite(static_cast<double>(value));
    } else {
        static_assert(std::constructible_from<JSONValue, const Value&> && !isCharacter<Value>,
                      "this type has no JSON form: give it jsonFields or jsonNames");
        return JSONValue{value};
    }
}

/// Returns the number as an `Integer`; nullopt if it is not whole or does not fit.
template <std::integral Integer>
std::optional<Integer> exactly(double number) {
    const auto lowest = static_cast<double>(std::numeric_limits<Integer>::min());
    // One above the greatest is a power of two, which a double holds exactly.
    const double beyond = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
    if (!(number >= lowest && number < beyond) || std::trunc(number) != number) {
        return std::nullopt;
    }
    return static_cast<Integer>(number);
}

template <typename Payload>
Payload require(std::optional<Payload> found, const JSONPath& path, std::string_view problem) {
    if (!found) {
        failDecoding(path, problem);
    }
    return *std::move(found);
}

template <std::integral Integer>
Integer decodeInteger(const JSONValue& json, const JSONPath& path) {
    const double number = require(json.doubleValue(), path, "must be a whole number");
    const auto whole = exactly<Integer>(number);
    if (!whole) {
        failDecoding(path, "must be a whole number from " +
                               std::to_string(std::numeric_limits<Integer>::min()) + " to " +
                               std::to_string(std::numeric_limits<Integer>::max()));
    }
    return *whole;
}

/// Nanoseconds, for example, end in the year 2262.
template <typename Time>
Time decodeTime(std::chrono::sys_seconds time, const JSONPath& path) {
    const auto first = std::chrono::ceil<std::chrono::seconds>(Time::min());
    const auto last = std::chrono::floor<std::chrono::seconds>(Time::max());
    if (time < first || time > last) {
        failDecoding(path,
                     "must be a date from " + dateTextUTC(first) + " to " + dateTextUTC(last));
    }
    return Time{time};
}

template <HasJSONNames Enumeration>
Enumeration decodeEnumeration(const JSONValue& json, const JSONPath& path) {
    const auto text = json.stringValue();
    std::string problem = "must be one of ";
    std::string_view separator;
    for (const auto& named : jsonNames(Enumeration{})) {
        if (text == named.name) {
            return named.value;
        }
        problem.append(separator).append("‘").append(named.name).append("’");
        separator = ", ";
    }
    failDecoding(path, problem);
}

template <typename Value>
Value decode(const JSONValue& json, const JSONPath& path) {
    if constexpr (HasJSONFields<Value>) {
        require(json.objectValue(), path, "must be an object");
        Value value{};
        const auto read = [&](const auto& named) {
            auto& member = value.*named.member;
            using Member = std::remove_cvref_t<decltype(member)>;
            const JSONPath place{.parent = &path, .name = named.name};
            const JSONValue* found = json[named.name];
            if (found != nullptr) {
                member = decode<Member>(*found, place);
            } else if constexpr (!isOptional<Member>) {
                failDecoding(place, "is required");
            }
        };
        std::apply([&](const auto&... named) { (read(named), ...); }, Value::jsonFields());
        return value;
    } else if constexpr (std::same_as<Value, JSONValue>) {
        return json;
    } else if constexpr (isOptional<Value>) {
        return json.isNull() ? Value{} : Value{decode<typename Value::value_type>(json, path)};
    } else if constexpr (isVector<Value>) {
        Value value;
        const auto elements = require(json.arrayValue(), path, "must be an array");
        for (const JSONValue& element : elements) {
            const JSONPath place{.parent = &path, .index = value.size()};
            value.push_back(decode<typename Value::value_type>(element, place));
        }
        return value;
    } else if constexpr (isMap<Value>) {
        Value value;
        const auto members = require(json.objectValue(), path, "must be an object");
        for (const JSONMember& member : members) {
            const JSONPath place{.parent = &path, .name = member.key()};
            value.emplace(member.key(), decode<typename Value::mapped_type>(member.value, place));
        }
        return value;
    } else if constexpr (HasJSONNames<Value>) {
        return decodeEnumeration<Value>(json, path);
    } else if constexpr (isTime<Value>) {
        constexpr std::string_view problem = "must be a date such as 2026-10-14T13:00:00Z";
        const auto text = require(json.stringValue(), path, problem);
        return decodeTime<Value>(require(readDateTextUTC(text), path, problem), path);
    } else if constexpr (std::same_as<Value, bool>) {
        return require(json.boolValue(), path, "must be true or false");
    } else if constexpr (std::integral<Value> && !isCharacter<Value>) {
        return decodeInteger<Value>(json, path);
    } else if constexpr (std::floating_point<Value>) {
        const double number = require(json.doubleValue(), path, "must be a number");
        if constexpr (std::same_as<Value, float>) {
            constexpr double greatest = std::numeric_limits<float>::max();
            if (std::abs(number) > greatest) {
                failDecoding(path,
                             "must be a number of at most " + JSONValue{greatest}.jsonString());
            }
        }
        return static_cast<Value>(number);
    } else if constexpr (std::same_as<Value, std::string>) {
        return std::string{require(json.stringValue(), path, "must be a string")};
    } else {
        static_assert(isUnknown<Value>,
                      "this type has no JSON form: give it jsonFields or jsonNames");
    }
}

} // namespace detail

template <typename Value>
JSONValue JSONValue::encoding(const Value& value) {
    return detail::encode(value);
}

template <typename Value>
Value JSONValue::decode() const {
    return detail::decode<Value>(detail::checked(*this), detail::JSONPath{});
}

} // namespace MCPStdio
