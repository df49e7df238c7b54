#pragma once

#include "MCPStdio/json/JSONCoding.hpp"

/// The JSON Schema of application types that list their fields or names (see JSONCoding.hpp).
namespace MCPStdio {

namespace detail {

template <typename Value>
struct WithoutOptional {
    using Type = Value;
};
template <typename Inner>
struct WithoutOptional<std::optional<Inner>> {
    using Type = Inner;
};

template <std::integral Integer>
JSONValue integerSchema() {
    using Limits = std::numeric_limits<Integer>;
    JSONValue schema = JSONValue::object({{"type", "integer"}});
    if constexpr (std::unsigned_integral<Integer> || sizeof(Integer) < sizeof(int)) {
        schema.set("minimum", Limits::min());
    }
    if constexpr (sizeof(Integer) < sizeof(int)) { // nobody comes near the larger ones
        schema.set("maximum", Limits::max());
    }
    return schema;
}

/// Returns the schema of a value within values of the types `Outer`.
template <typename Value, typename... Outer>
JSONValue schemaOf() {
    if constexpr ((std::same_as<Value, Outer> || ...)) {
        static_assert(isUnknown<Value>, "write the schema of a type that contains itself by hand");
    } else if constexpr (HasJSONFields<Value>) {
        JSONValue properties = JSONValue::object();
        JSONValue required = JSONValue::array();
        const auto add = [&]<typename Type, typename Member>(const JSONField<Type, Member>& named) {
            JSONValue schema = schemaOf<typename WithoutOptional<Member>::Type, Value, Outer...>();
            if (!named.description.empty()) {
                schema.set("description", named.description);
            }
            properties.set(named.name, std::move(schema));
            if constexpr (!isOptional<Member>) {
                required.append(named.name);
            }
        };
        std::apply([&](const auto&... named) { (add(named), ...); }, Value::jsonFields());
        JSONValue schema =
            JSONValue::object({{"type", "object"}, {"properties", std::move(properties)}});
        if (required[0] != nullptr) {
            schema.set("required", std::move(required));
        }
        return schema;
    } else if constexpr (std::same_as<Value, JSONValue>) {
        return JSONValue::object();
    } else if constexpr (isOptional<Value>) {
        return JSONValue::object(
            {{"anyOf", JSONValue::array(schemaOf<typename Value::value_type, Outer...>(),
                                        JSONValue::object({{"type", "null"}}))}});
    } else if constexpr (isVector<Value>) {
        return JSONValue::object(
            {{"type", "array"}, {"items", schemaOf<typename Value::value_type, Outer...>()}});
    } else if constexpr (isMap<Value>) {
        return JSONValue::object(
            {{"type", "object"},
             {"additionalProperties", schemaOf<typename Value::mapped_type, Outer...>()}});
    } else if constexpr (HasJSONNames<Value>) {
        JSONValue names = JSONValue::array();
        for (const auto& named : jsonNames(Value{})) {
            names.append(named.name);
        }
        return JSONValue::object({{"type", "string"}, {"enum", std::move(names)}});
    } else if constexpr (isTime<Value>) {
        return JSONValue::object({{"type", "string"},
                                  {"format", "date-time"},
                                  {"pattern", R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z$)"}});
    } else if constexpr (std::same_as<Value, bool>) {
        return JSONValue::object({{"type", "boolean"}});
    } else if constexpr (std::integral<Value> && !isCharacter<Value>) {
        return integerSchema<Value>();
    } else if constexpr (std::floating_point<Value>) {
        return JSONValue::object({{"type", "number"}});
    } else if constexpr (std::same_as<Value, std::string>) {
        return JSONValue::object({{"type", "string"}});
    } else {
        static_assert(isUnknown<Value>,
                      "this type has no JSON form: give it jsonFields or jsonNames");
    }
}

} // namespace detail

/// Returns the schema of the values that `decode<Value>()` accepts, in the dialect of 2020-12. A
/// field is required unless it is optional, and carries its description. Members without a field
/// are allowed, because decoding ignores them. Two things are left out, which only make a schema
/// longer: the limits of 32 and 64 bits, except that unsigned numbers are not negative, and that
/// null stands for a missing optional. Does not compile for a type that contains itself.
template <typename Value>
JSONValue jsonSchema() {
    return detail::schemaOf<Value>();
}

} // namespace MCPStdio
