#include "MCPStdio/json/JSONCoding.hpp"

#include "MCPStdio/MCPTool.hpp"

#include <cfloat>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>

using namespace MCPStdio;
using namespace std::chrono_literals;

namespace {

struct Address {
    std::string street;
    std::optional<int> number;

    static constexpr auto jsonFields() {
        return std::tuple{field("street", &Address::street), field("number", &Address::number)};
    }
    friend bool operator==(const Address&, const Address&) = default;
};

struct Person {
    std::string name;
    bool known = false;
    double height = 0;
    std::int64_t visits = 0;
    std::chrono::sys_seconds born;
    std::vector<Address> addresses;
    std::map<std::string, int> scores;
    JSONValue extra;

    static constexpr auto jsonFields() {
        return std::tuple{field("name", &Person::name),     field("known", &Person::known),
                          field("height", &Person::height), field("visits", &Person::visits),
                          field("born", &Person::born),     field("addresses", &Person::addresses),
                          field("scores", &Person::scores), field("extra", &Person::extra)};
    }
    friend bool operator==(const Person&, const Person&) = default;
};

Person anna() {
    Person person;
    person.name = "Anna";
    person.known = true;
    person.height = 1.72;
    person.visits = 12;
    person.born = std::chrono::sys_days{std::chrono::year{1984} / 2 / 29} + 13h;
    person.addresses = {{"Main/Street", 5}, {"Side Street", std::nullopt}};
    person.scores = {{"b", 2}, {"a", 1}};
    person.extra = JSONValue::array(1, nullptr);
    return person;
}

enum class Unit { metre, foot, unnamed };

constexpr auto jsonNames(Unit) {
    return std::array{JSONName{"m", Unit::metre}, JSONName{"ft", Unit::foot}};
}

struct Length {
    double number = 0;
    Unit unit = Unit::metre;
    std::vector<Unit> accepted;

    static constexpr auto jsonFields() {
        return std::tuple{field("number", &Length::number), field("unit", &Length::unit),
                          field("accepted", &Length::accepted)};
    }
};

template <typename Value>
std::string decodingFailure(std::string_view text) {
    try {
        static_cast<void>(JSONValue::parse(text).decode<Value>());
        return "no failure";
    } catch (const JSONError& error) {
        return error.what();
    }
}

} // namespace

TEST(JSONCoding, AnApplicationTypeSurvivesARoundTrip) {
    const auto encoded = JSONValue::encoding(anna());
    EXPECT_EQ(encoded.jsonString(),
              R"({"addresses":[{"number":5,"street":"Main/Street"},{"street":"Side Street"}],)"
              R"("born":"1984-02-29T13:00:00Z","extra":[1,null],"height":1.72,"known":true,)"
              R"("name":"Anna","scores":{"a":1,"b":2},"visits":12})");
    EXPECT_EQ(encoded.decode<Person>(), anna());
}

TEST(JSONCoding, PlainValuesSurviveARoundTrip) {
    EXPECT_EQ(JSONValue::encoding(std::vector<int>{1, 2}).decode<std::vector<int>>(),
              (std::vector<int>{1, 2}));
    EXPECT_EQ(JSONValue::encoding(std::string{"x"}).decode<std::string>(), "x");
    EXPECT_EQ(JSONValue::encoding(std::optional<int>{}).isNull(), true);
    EXPECT_EQ(JSONValue{}.decode<std::optional<int>>(), std::nullopt);
    EXPECT_EQ(JSONValue::encoding(JSONValue{1.5}), JSONValue{1.5});
}

TEST(JSONCoding, ANumberThatIsNotFiniteCannotBeEncoded) {
    auto person = anna();
    person.height = NAN;
    EXPECT_THROW(JSONValue::encoding(person), JSONError);
    person = anna();
    person.extra = JSONValue::array(INFINITY);
    EXPECT_THROW(JSONValue::encoding(person), JSONError);
    EXPECT_THROW(static_cast<void>(JSONValue{NAN}.decode<double>()), JSONError);
}

TEST(JSONCoding, AFailureNamesTheMemberAndWhatWasExpected) {
    EXPECT_EQ(decodingFailure<Address>(R"({})"), "‘street’ is required");
    EXPECT_EQ(decodingFailure<Address>(R"({"street":5})"), "‘street’ must be a string");
    EXPECT_EQ(decodingFailure<Address>(R"({"street":null})"), "‘street’ must be a string");
    EXPECT_EQ(decodingFailure<Address>(R"([])"), "the value must be an object");
    EXPECT_EQ(decodingFailure<Address>(R"({"street":"x","number":"5"})"),
              "‘number’ must be a whole number");
    for (const char* number : {"1.5", "3000000000", "-1e300"}) {
        EXPECT_EQ(
            decodingFailure<Address>(R"({"street":"x","number":)" + std::string{number} + "}"),
            "‘number’ must be a whole number from -2147483648 to 2147483647");
    }
    EXPECT_EQ(decodingFailure<std::uint8_t>("256"),
              "the value must be a whole number from 0 to 255");
    EXPECT_EQ(decodingFailure<std::vector<Address>>(R"([{"street":"x"},{}])"),
              "‘[1].street’ is required");
    EXPECT_EQ((decodingFailure<std::map<std::string, bool>>(R"({"a":1})")),
              "‘a’ must be true or false");
    EXPECT_EQ((decodingFailure<std::map<std::string, std::vector<Address>>>(
                  R"({"a b":[{"street":"x"},{"street":"x","number":true}]})")),
              "‘a b[1].number’ must be a whole number");
    EXPECT_EQ((decodingFailure<std::vector<std::vector<std::string>>>(R"([[],["x",1]])")),
              "‘[1][1]’ must be a string");
    EXPECT_EQ(decodingFailure<std::vector<int>>(R"({})"), "the value must be an array");
    EXPECT_EQ((decodingFailure<std::map<std::string, int>>(R"([])")),
              "the value must be an object");
    EXPECT_EQ(decodingFailure<double>(R"(true)"), "the value must be a number");
    for (const char* text : {R"("2026-02-30T00:00:00Z")", "5"}) {
        EXPECT_EQ(decodingFailure<std::chrono::sys_seconds>(text),
                  "the value must be a date such as 2026-10-14T13:00:00Z");
    }
}

TEST(JSONCoding, WholeNumbersMustFitTheirType) {
    EXPECT_EQ(JSONValue{255}.decode<std::uint8_t>(), 255);
    EXPECT_THROW(static_cast<void>(JSONValue{256}.decode<std::uint8_t>()), JSONError);
    EXPECT_THROW(static_cast<void>(JSONValue{-1}.decode<unsigned>()), JSONError);
    EXPECT_EQ(JSONValue{-0x1p63}.decode<std::int64_t>(), std::numeric_limits<std::int64_t>::min());
    EXPECT_THROW(static_cast<void>(JSONValue{0x1p63}.decode<std::int64_t>()), JSONError);
}

TEST(JSONCoding, NumbersAndDatesMustLieWithinTheirType) {
    EXPECT_EQ(JSONValue{-1.5}.decode<float>(), -1.5F);
    EXPECT_EQ(JSONValue{double{FLT_MAX}}.decode<float>(), FLT_MAX);
    EXPECT_EQ(decodingFailure<float>("1e300"),
              "the value must be a number of at most 3.4028234663852886e+38");
    EXPECT_EQ(decodingFailure<float>("-1e300"), decodingFailure<float>("1e300"));
    EXPECT_EQ(JSONValue{-1e300}.decode<double>(), -1e300);

    using Nanoseconds = std::chrono::sys_time<std::chrono::nanoseconds>;
    for (const char* text : {"1677-09-21T00:12:44Z", "2262-04-11T23:47:16Z"}) {
        EXPECT_EQ(dateTextUTC(std::chrono::floor<std::chrono::seconds>(
                      JSONValue{text}.decode<Nanoseconds>())),
                  text);
    }
    for (const char* text : {R"("1677-09-21T00:12:43Z")", R"("2262-04-11T23:47:17Z")",
                             R"("9999-12-31T00:00:00Z")", R"("0000-01-01T00:00:00Z")"}) {
        EXPECT_EQ(decodingFailure<Nanoseconds>(text),
                  "the value must be a date from 1677-09-21T00:12:44Z to 2262-04-11T23:47:16Z");
    }
}

TEST(JSONCoding, ANullOrMissingMemberIsAnEmptyOptionalAndUnknownOnesAreIgnored) {
    const Address expected{"x", std::nullopt};
    EXPECT_EQ(JSONValue::parse(R"({"street":"x","number":null})").decode<Address>(), expected);
    EXPECT_EQ(JSONValue::parse(R"({"street":"x","more":1})").decode<Address>(), expected);
}

TEST(JSONCoding, DatesAreTextInUTCToTheSecond) {
    const auto time = std::chrono::sys_days{std::chrono::year{2026} / 10 / 14} + 13h + 5s;
    EXPECT_EQ(dateTextUTC(time), "2026-10-14T13:00:05Z");
    EXPECT_EQ(readDateTextUTC("2026-10-14T13:00:05Z"), time);
    const auto withMilliseconds = std::chrono::sys_time<std::chrono::milliseconds>{time} + 999ms;
    EXPECT_EQ(JSONValue::encoding(withMilliseconds).stringValue(), "2026-10-14T13:00:05Z");
    for (const char* text :
         {"", "2026-10-14", "2026-10-14T13:00:05", "2026-10-14T24:00:00Z", "2026-13-14T13:00:05Z",
          "2026-10-14T13:60:05Z", "x026-10-14T13:00:05Z", "2026-10-14T13:00:05Zx"}) {
        EXPECT_EQ(readDateTextUTC(text), std::nullopt) << text;
    }
}

TEST(JSONCoding, TheTypedResultIsPrettyWithDatesAsText) {
    const Address address{"Main/Street", 5};
    EXPECT_EQ(MCPToolResult::json(address).text,
              "{\n  \"number\" : 5,\n  \"street\" : \"Main/Street\"\n}");
    EXPECT_FALSE(MCPToolResult::json(address).isError);
}

TEST(JSONCoding, ATypedResultThatCannotBeEncodedIsAnEmptyObject) {
    auto person = anna();
    person.height = NAN;
    EXPECT_EQ(MCPToolResult::json(person), (MCPToolResult{"{}", false}));
}

TEST(JSONCoding, AnEnumerationIsOneOfItsNames) {
    const Length length{2, Unit::foot, {Unit::metre, Unit::foot}};
    const auto encoded = JSONValue::encoding(length);
    EXPECT_EQ(encoded.jsonString(), R"({"accepted":["m","ft"],"number":2,"unit":"ft"})");
    const auto decoded = encoded.decode<Length>();
    EXPECT_EQ(decoded.unit, Unit::foot);
    EXPECT_EQ(decoded.accepted, length.accepted);
    for (const char* unit : {"\"yd\"", "\"\"", "1", "null"}) {
        EXPECT_EQ(decodingFailure<Length>(R"({"number":2,"accepted":[],"unit":)" +
                                          std::string{unit} + "}"),
                  "‘unit’ must be one of ‘m’, ‘ft’");
    }
    EXPECT_THROW(JSONValue::encoding(Unit::unnamed), JSONError);
}
