#include "velmiro_mcp/AppleTools/Arguments.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "support/ScopedVariable.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;

namespace {

JSONValue with(const char* name, JSONValue value) {
    return JSONValue::object({{name, std::move(value)}});
}

const JSONValue noArguments = JSONValue::object();

/// Returns the message with which a reading fails.
template <typename Reading>
std::string failure(Reading reading) {
    try {
        static_cast<void>(reading());
        return "no failure";
    } catch (const MCPStdio::MCPToolError& error) {
        return error.message;
    }
}

std::string queryFailure(JSONValue value) {
    return failure([&] { return requiredString("query", with("query", std::move(value))); });
}

constexpr IntegerRule limitRule{10, 1, 30};
std::int64_t limit(JSONValue value) {
    return integer("limit", with("limit", std::move(value)), limitRule);
}

constexpr const char* badStart =
    "‘start’ is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset";

} // namespace

TEST(RequiredString, IsTrimmedAndNotBlank) {
    EXPECT_EQ(requiredString("query", with("query", "  tea  ")), "tea");
    EXPECT_EQ(requiredString("query", with("query", "\u3000a b\n")), "a b");
    EXPECT_EQ(queryFailure("   "), "‘query’ is required");
    EXPECT_EQ(queryFailure("\n\u2028"), "‘query’ is required");
    EXPECT_EQ(queryFailure(5), "‘query’ is required");
    EXPECT_EQ(queryFailure(nullptr), "‘query’ is required");
    EXPECT_EQ(queryFailure(JSONValue::array("tea")), "‘query’ is required");
    EXPECT_EQ(failure([] { return requiredString("query", noArguments); }), "‘query’ is required");
    EXPECT_EQ(failure([] { return requiredString("query", JSONValue{"query"}); }),
              "‘query’ is required");
}

TEST(OptionalString, IsAbsentIfItIsBlankOrNotAText) {
    EXPECT_EQ(optionalString("list", with("list", " Work ")), "Work");
    EXPECT_EQ(optionalString("list", with("list", "  ")), std::nullopt);
    EXPECT_EQ(optionalString("list", with("list", 5)), std::nullopt);
    EXPECT_EQ(optionalString("list", with("list", nullptr)), std::nullopt);
    EXPECT_EQ(optionalString("list", noArguments), std::nullopt);
    EXPECT_EQ(optionalString("list", JSONValue::array()), std::nullopt);
}

TEST(Integer, FallsBackOnlyIfItIsAbsentOrNull) {
    EXPECT_EQ(integer("limit", noArguments, limitRule), 10);
    EXPECT_EQ(limit(nullptr), 10);
    EXPECT_EQ(integer("limit", noArguments, {99, 1, 30}), 99); // the fallback is not checked
}

TEST(Integer, AcceptsAnythingThatRoundsOrParsesToANumberInRange) {
    EXPECT_EQ(limit(30), 30);
    EXPECT_EQ(limit(1), 1);
    EXPECT_EQ(limit(29.6), 30);
    EXPECT_EQ(limit(2.5), 3);
    EXPECT_EQ(limit("7"), 7);
    EXPECT_EQ(limit("+5"), 5);
}

TEST(Integer, RefusesEverythingElse) {
    for (const JSONValue& wrong :
         {JSONValue{31}, JSONValue{0}, JSONValue{30.5}, JSONValue{0.4}, JSONValue{"ten"},
          JSONValue{true}, JSONValue{" 5"}, JSONValue{""}, JSONValue{1e30}, JSONValue::array(5),
          JSONValue::object()}) {
        EXPECT_EQ(failure([&] { return limit(wrong); }),
                  "‘limit’ must be a whole number from 1 to 30")
            << wrong.jsonString();
    }
    EXPECT_EQ(failure([] { return integer("n", with("n", 1), {0, -5, 0}); }),
              "‘n’ must be a whole number from -5 to 0");
}

TEST(OptionalDate, ReadsTextsAndIgnoresEverythingElse) {
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    const auto start = [](JSONValue value) {
        const auto date = optionalDate("start", with("start", std::move(value)));
        return date ? dateText(*date) : "absent";
    };
    EXPECT_EQ(start("2026-10-14"), "2026-10-14T00:00:00+02:00");
    EXPECT_EQ(start("2026-10-14T15:00"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(start(" 2026-10-14 15:00\n"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(start("2026-10-14T15:00:00Z"), "2026-10-14T17:00:00+02:00");
    EXPECT_EQ(start(""), "absent");
    EXPECT_EQ(start("  "), "absent");
    EXPECT_EQ(start(20261014), "absent");
    EXPECT_EQ(start(true), "absent");
    EXPECT_EQ(start(nullptr), "absent");
    EXPECT_EQ(failure([&] { return start("14.10.2026"); }), badStart);
    EXPECT_EQ(failure([&] { return start("2026-02-30"); }), badStart);
}

TEST(RequiredDate, ReportsItsAbsence) {
    EXPECT_EQ(failure([] { return requiredDate("start", noArguments); }), "‘start’ is required");
    EXPECT_EQ(failure([] { return requiredDate("start", with("start", 5)); }),
              "‘start’ is required");
    EXPECT_EQ(failure([] { return requiredDate("start", with("start", "soon")); }), badStart);
}

TEST(StringList, TakesAnArrayOrTextBetweenCommas) {
    using List = std::vector<std::string>;
    const auto to = [](JSONValue value) { return stringList("to", with("to", std::move(value))); };
    EXPECT_EQ(to(JSONValue::array(" a ", 3, "")), (List{"a"}));
    EXPECT_EQ(to("a,,b ,"), (List{"a", "b"}));
    EXPECT_EQ(to("x, y"), (List{"x", "y"}));
    EXPECT_EQ(to(JSONValue::array("x", "y")), (List{"x", "y"}));
    EXPECT_EQ(to("one"), (List{"one"}));
    EXPECT_EQ(to(JSONValue::array("a,b")), (List{"a,b"}));
    EXPECT_EQ(to(JSONValue::array("x\n")), (List{"x\n"}));
    EXPECT_EQ(to("x\n, y"), (List{"x\n", "y"}));
    EXPECT_EQ(to(5), List{});
    EXPECT_EQ(stringList("to", noArguments), List{});
}

TEST(Flag, IsOnOnlyIfItIsTheValueTrue) {
    EXPECT_TRUE(flag("all_day", with("all_day", true)));
    for (const JSONValue& off : {JSONValue{false}, JSONValue{"true"}, JSONValue{1}, JSONValue{}}) {
        EXPECT_FALSE(flag("all_day", with("all_day", off)));
    }
    EXPECT_FALSE(flag("all_day", noArguments));
}

TEST(Schema, AlwaysHasFourMembers) {
    EXPECT_EQ(schema(JSONValue::object(), {}).jsonString(),
              R"({"additionalProperties":false,"properties":{},"required":[],"type":"object"})");
    EXPECT_EQ(
        schema(JSONValue::object({{"x", JSONValue::object()}}), {"z", "a"}).jsonString(),
        R"({"additionalProperties":false,"properties":{"x":{}},"required":["z","a"],"type":"object"})");
}

TEST(Schema, DescribesEachKindOfArgument) {
    EXPECT_EQ(textProperty().jsonString(), R"({"type":"string"})");
    EXPECT_EQ(textProperty("A name.").jsonString(), R"({"description":"A name.","type":"string"})");
    EXPECT_EQ(integerProperty(1, 31).jsonString(),
              R"({"maximum":31,"minimum":1,"type":"integer"})");
    EXPECT_EQ(flagProperty().jsonString(), R"({"type":"boolean"})");
    EXPECT_EQ(dateProperty().jsonString(),
              R"({"description":"Date or date-time: 2026-10-14, 2026-10-14T15:00 (this Mac's time )"
              R"(zone) or ISO 8601 with an offset.","type":"string"})");
}
