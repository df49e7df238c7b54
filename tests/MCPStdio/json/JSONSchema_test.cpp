#include "MCPStdio/json/JSONSchema.hpp"

#include <gtest/gtest.h>

using namespace MCPStdio;

namespace {

struct Place {
    double latitude = 0;
    std::optional<double> height;

    static constexpr auto jsonFields() {
        return std::tuple{field("latitude", &Place::latitude, "degrees north"),
                          field("height", &Place::height, "metres above the sea")};
    }
};

struct Nothing {
    static constexpr auto jsonFields() { return std::tuple{}; }
};

struct AllOptional {
    std::optional<Nothing> nothing;

    static constexpr auto jsonFields() {
        return std::tuple{field("nothing", &AllOptional::nothing)};
    }
};

/// Two fields of the same type are no circle.
struct Journey {
    Place from;
    Place to;
    std::vector<Place> over;

    static constexpr auto jsonFields() {
        return std::tuple{field("from", &Journey::from), field("to", &Journey::to),
                          field("over", &Journey::over, "the places between")};
    }
};

/// A type may list the fields of its base.
struct Named {
    std::string name;
};
struct Town : Named {
    unsigned people = 0;

    static constexpr auto jsonFields() {
        return std::tuple{field("name", &Town::name), field("people", &Town::people)};
    }
};

enum class Unit { metre, foot };

constexpr auto jsonNames(Unit) {
    return std::array{JSONName{"m", Unit::metre}, JSONName{"ft", Unit::foot}};
}

template <typename Value>
std::string schema() {
    return jsonSchema<Value>().jsonString();
}

} // namespace

TEST(JSONSchema, PlainTypesHaveTheirNames) {
    EXPECT_EQ(schema<bool>(), R"({"type":"boolean"})");
    EXPECT_EQ(schema<double>(), R"({"type":"number"})");
    EXPECT_EQ(schema<std::string>(), R"({"type":"string"})");
    EXPECT_EQ(schema<JSONValue>(), "{}");
}

TEST(JSONSchema, WholeNumbersSayTheLimitsThatSomebodyMayMeet) {
    EXPECT_EQ(schema<int>(), R"({"type":"integer"})");
    EXPECT_EQ(schema<std::int64_t>(), R"({"type":"integer"})");
    EXPECT_EQ(schema<unsigned>(), R"({"minimum":0,"type":"integer"})");
    EXPECT_EQ(schema<std::uint64_t>(), R"({"minimum":0,"type":"integer"})");
    EXPECT_EQ(schema<std::int8_t>(), R"({"maximum":127,"minimum":-128,"type":"integer"})");
    EXPECT_EQ(schema<std::uint16_t>(), R"({"maximum":65535,"minimum":0,"type":"integer"})");
}

TEST(JSONSchema, ATimeIsADateTimeInUTC) {
    EXPECT_EQ(
        schema<std::chrono::sys_seconds>(),
        R"({"format":"date-time","pattern":"^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}Z$","type":"string"})");
}

TEST(JSONSchema, ListsAndMapsDescribeTheirContent) {
    EXPECT_EQ(schema<std::vector<bool>>(), R"({"items":{"type":"boolean"},"type":"array"})");
    EXPECT_EQ((schema<std::map<std::string, std::vector<int>>>()),
              R"({"additionalProperties":{"items":{"type":"integer"},"type":"array"},)"
              R"("type":"object"})");
}

TEST(JSONSchema, AFieldIsRequiredUnlessOptionalAndKeepsItsDescription) {
    EXPECT_EQ(schema<Place>(),
              R"({"properties":{"height":{"description":"metres above the sea","type":"number"},)"
              R"("latitude":{"description":"degrees north","type":"number"}},)"
              R"("required":["latitude"],"type":"object"})");
    EXPECT_EQ(schema<Nothing>(), R"({"properties":{},"type":"object"})");
    EXPECT_EQ(schema<AllOptional>(),
              R"({"properties":{"nothing":{"properties":{},"type":"object"}},"type":"object"})");
}

TEST(JSONSchema, AnOptionalWithinAListMayBeNull) {
    EXPECT_EQ(schema<std::vector<std::optional<int>>>(),
              R"({"items":{"anyOf":[{"type":"integer"},{"type":"null"}]},"type":"array"})");
}

TEST(JSONSchema, TypesContainOtherTypes) {
    const JSONValue journey = jsonSchema<Journey>();
    const JSONValue& properties = *journey["properties"];
    EXPECT_EQ(*properties["from"], jsonSchema<Place>());
    EXPECT_EQ(*properties["to"], jsonSchema<Place>());
    EXPECT_EQ(*(*properties["over"])["items"], jsonSchema<Place>());
    EXPECT_EQ((*properties["over"])["description"]->stringValue(), "the places between");
    EXPECT_EQ(journey["required"]->jsonString(), R"(["from","to","over"])");
}

TEST(JSONSchema, ATypeMayListFieldsOfItsBase) {
    EXPECT_EQ(schema<Town>(),
              R"({"properties":{"name":{"type":"string"},"people":{"minimum":0,"type":"integer"}},)"
              R"("required":["name","people"],"type":"object"})");
    const auto town = JSONValue::parse(R"({"name":"Ulm","people":3})").decode<Town>();
    EXPECT_EQ(town.name, "Ulm");
    EXPECT_EQ(JSONValue::encoding(town).jsonString(), R"({"name":"Ulm","people":3})");
}

TEST(JSONSchema, AnEnumerationIsOneOfItsNames) {
    EXPECT_EQ(schema<Unit>(), R"({"enum":["m","ft"],"type":"string"})");
}
