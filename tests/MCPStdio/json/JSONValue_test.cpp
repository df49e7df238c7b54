#include "MCPStdio/json/JSONValue.hpp"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

using namespace MCPStdio;
using Case = JSONValue::Case;

namespace {

const JSONValue someArray = JSONValue::array(1, "two", nullptr);
const JSONValue someObject = JSONValue::object({{"b", 1}, {"a", "x"}});
const std::string longText(1000, 'y');

} // namespace

TEST(JSONValue, EachLiteralCreatesItsCase) {
    EXPECT_EQ(JSONValue{}.kind(), Case::null);
    EXPECT_EQ(JSONValue{nullptr}.kind(), Case::null);
    EXPECT_EQ(JSONValue{true}.kind(), Case::boolean);
    EXPECT_EQ(JSONValue{7}.doubleValue(), 7.0);
    EXPECT_EQ(JSONValue{7U}.doubleValue(), 7.0);
    EXPECT_EQ(JSONValue{1.5}.doubleValue(), 1.5);
    EXPECT_EQ(JSONValue{"text"}.stringValue(), "text");
    EXPECT_EQ(JSONValue{'c'}.stringValue(), "c");
    EXPECT_EQ(JSONValue{U'é'}.stringValue(), "é");
    EXPECT_EQ(JSONValue{U'😀'}.stringValue(), "😀");
    EXPECT_EQ(someArray.arrayValue()->size(), 3U);
    EXPECT_EQ(someObject.objectValue()->size(), 2U);
    EXPECT_EQ(JSONValue::array().kind(), Case::array);
    EXPECT_EQ(JSONValue::object().kind(), Case::object);
}

TEST(JSONValue, APointerDoesNotConvertToBool) {
    EXPECT_FALSE((std::is_constructible_v<JSONValue, const void*>));
    EXPECT_FALSE((std::is_constructible_v<JSONValue, int*>));
    EXPECT_TRUE((std::is_constructible_v<JSONValue, const char*>));
}

TEST(JSONValue, TheLastValueOfARepeatedKeyWins) {
    const auto value = JSONValue::object({{"k", 1}, {"other", 2}, {"k", 3}});
    EXPECT_EQ(value.objectValue()->size(), 2U);
    EXPECT_EQ(value["k"]->doubleValue(), 3.0);
}

TEST(JSONValue, TextsOfEveryLengthKeepTheirBytes) {
    for (std::size_t length = 0; length < 40; ++length) {
        std::string text(length, 'a');
        if (length > 2) {
            text[1] = '\0';
        }
        const JSONValue value{text};
        EXPECT_EQ(value.stringValue(), text) << length;
        const JSONValue copy = value; // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(copy.stringValue(), text) << length;
    }
}

TEST(JSONValue, SubscriptByKeyFindsMembersOfObjectsOnly) {
    EXPECT_EQ(someObject["a"]->stringValue(), "x");
    EXPECT_EQ(someObject["c"], nullptr);
    EXPECT_EQ(someArray["a"], nullptr);
    EXPECT_EQ(JSONValue{"a"}["a"], nullptr);
    EXPECT_EQ(JSONValue{}["a"], nullptr);
}

TEST(JSONValue, SubscriptByIndexFindsElementsOfArraysOnly) {
    EXPECT_EQ(someArray[0]->doubleValue(), 1.0);
    EXPECT_EQ(someArray[1]->stringValue(), "two");
    EXPECT_EQ(someArray[3], nullptr);
    EXPECT_EQ(someArray[-1], nullptr);
    EXPECT_EQ(someArray[std::numeric_limits<std::uint64_t>::max()], nullptr);
    EXPECT_EQ(someObject[0], nullptr);
    EXPECT_EQ(JSONValue::array()[0], nullptr);
}

TEST(JSONValue, AccessorsAreEmptyForEveryOtherCase) {
    for (const JSONValue& value :
         {JSONValue{}, JSONValue{true}, JSONValue{1}, JSONValue{"1"}, someArray, someObject}) {
        EXPECT_EQ(value.isNull(), value.kind() == Case::null);
        EXPECT_EQ(value.boolValue().has_value(), value.kind() == Case::boolean);
        EXPECT_EQ(value.doubleValue().has_value(), value.kind() == Case::number);
        EXPECT_EQ(value.stringValue().has_value(), value.kind() == Case::string);
        EXPECT_EQ(value.arrayValue().has_value(), value.kind() == Case::array);
        EXPECT_EQ(value.objectValue().has_value(), value.kind() == Case::object);
    }
}

TEST(JSONValue, IntValueRoundsHalvesAwayFromZero) {
    EXPECT_EQ(JSONValue{2.5}.intValue(), 3);
    EXPECT_EQ(JSONValue{-2.5}.intValue(), -3);
    EXPECT_EQ(JSONValue{-0.5}.intValue(), -1);
    EXPECT_EQ(JSONValue{7.4}.intValue(), 7);
    EXPECT_EQ(JSONValue{0.49999999999999994}.intValue(), 0);
}

TEST(JSONValue, IntValueIsAbsentOutsideSixtyFourBits) {
    EXPECT_EQ(JSONValue{0x1p63}.intValue(), std::nullopt);
    EXPECT_EQ(JSONValue{-0x1p63}.intValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(JSONValue{std::nextafter(0x1p63, 0)}.intValue(), 9223372036854774784);
    EXPECT_EQ(JSONValue{std::nextafter(-0x1p63, -INFINITY)}.intValue(), std::nullopt);
    EXPECT_EQ(JSONValue{NAN}.intValue(), std::nullopt);
    EXPECT_EQ(JSONValue{INFINITY}.intValue(), std::nullopt);
}

TEST(JSONValue, IntValueReadsDecimalDigitsAndNothingElse) {
    EXPECT_EQ(JSONValue{"42"}.intValue(), 42);
    EXPECT_EQ(JSONValue{"+5"}.intValue(), 5);
    EXPECT_EQ(JSONValue{"-7"}.intValue(), -7);
    EXPECT_EQ(JSONValue{"007"}.intValue(), 7);
    EXPECT_EQ(JSONValue{"9223372036854775807"}.intValue(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(JSONValue{"-9223372036854775808"}.intValue(),
              std::numeric_limits<std::int64_t>::min());
    for (const char* text : {"", "+", "-", "+-5", "--5", " 5", "5 ", "4.2", "1e3", "0x10", "٣",
                             "9223372036854775808", "five"}) {
        EXPECT_EQ(JSONValue{text}.intValue(), std::nullopt) << text;
    }
    EXPECT_EQ(JSONValue{true}.intValue(), std::nullopt);
    EXPECT_EQ(someArray.intValue(), std::nullopt);
}

TEST(JSONValue, JsonStringIsNullIfAValueCannotBeWritten) {
    EXPECT_EQ(JSONValue{NAN}.jsonString(), "null");
    EXPECT_EQ(JSONValue{-INFINITY}.jsonString(), "null");
    EXPECT_EQ(JSONValue::object({{"deep", JSONValue::array(NAN)}}).jsonString(), "null");
    EXPECT_EQ(someObject.jsonString(), R"({"a":"x","b":1})");
}

TEST(JSONValue, EqualityComparesNumbersAsDoublesAndObjectsAsMaps) {
    EXPECT_EQ(JSONValue{0.0}, JSONValue{-0.0});
    EXPECT_NE(JSONValue{NAN}, JSONValue{NAN});
    EXPECT_EQ(JSONValue::object({{"a", 1}, {"b", 2}}), JSONValue::object({{"b", 2}, {"a", 1}}));
    EXPECT_NE(JSONValue::object({{"a", 1}}), JSONValue::object({{"a", 1}, {"b", 2}}));
    EXPECT_NE(JSONValue::object({{"a", 1}}), JSONValue::object({{"b", 1}}));
    EXPECT_NE(JSONValue::array(1, 2), JSONValue::array(2, 1));
    EXPECT_NE(JSONValue{1}, JSONValue{true});
    EXPECT_NE(JSONValue{0}, JSONValue{});
    EXPECT_EQ(JSONValue{longText}, JSONValue{longText});
    EXPECT_NE(JSONValue::array(), JSONValue::object());
}

TEST(JSONValue, EqualValuesHaveEqualHashes) {
    EXPECT_EQ(JSONValue{0.0}.hash(), JSONValue{-0.0}.hash());
    EXPECT_EQ(JSONValue::object({{"a", 1}, {"b", 2}}).hash(),
              JSONValue::object({{"b", 2}, {"a", 1}}).hash());
    std::unordered_set<JSONValue> set{someArray, someObject, JSONValue{1}, JSONValue{true}};
    set.insert(JSONValue{1});
    EXPECT_EQ(set.size(), 4U);
    EXPECT_NE(JSONValue{1}.hash(), JSONValue{true}.hash());
    EXPECT_NE(JSONValue::array(1, 2).hash(), JSONValue::array(2, 1).hash());
}

TEST(JSONValue, ACopySharesNothing) {
    const auto original = JSONValue::object({{"list", JSONValue::array(1, longText)}});
    JSONValue copy = original;
    copy.set("list", 5);
    copy.set("more", true);
    EXPECT_EQ(original["list"]->arrayValue()->size(), 2U);
    EXPECT_EQ(original["more"], nullptr);
}

TEST(JSONValue, AMovedValueIsNull) {
    JSONValue value{longText};
    const JSONValue moved = std::move(value);
    // Using it is the test: NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(moved.stringValue(), longText);
}

TEST(JSONValue, TextsOfAllLengthsBehaveAlike) {
    // Stored inside the value, in a block, and as a std::string: the shortest and longest of each.
    for (const std::size_t length : {0U, 15U, 16U, 4095U, 4096U, 100'000U}) {
        const std::string text(length, 't');
        const JSONValue value{text};
        const JSONValue taken{std::string{text}};
        JSONValue copy = value;
        EXPECT_EQ(value.stringValue(), text);
        EXPECT_EQ(taken, value);
        EXPECT_EQ(copy, value);
        EXPECT_EQ(copy.hash(), value.hash());
        EXPECT_EQ(value.jsonString(), '"' + text + '"');
        EXPECT_NE(value, JSONValue{text + "u"});
        EXPECT_EQ(JSONValue{value}.stringValue(), text);
        auto object = JSONValue::object({{text, value}, {text + "u", 1}});
        object.set(text, std::move(copy));
        EXPECT_EQ(*object[text], value);
        EXPECT_EQ(object.take(text).value_or(nullptr).stringValue(), text);
    }
    EXPECT_EQ(JSONValue{7}.stringValue(), std::nullopt);
    EXPECT_EQ(JSONValue{}.stringValue(), std::nullopt);
}

TEST(JSONValue, ALongTextIsMovedInAndOutAndNeverCopied) {
    const auto addressOf = [](std::string_view view) {
        return reinterpret_cast<std::uintptr_t>(view.data());
    };
    std::string text(100'000, 't');
    const auto address = addressOf(text);
    JSONValue value{std::move(text)};
    JSONValue moved = std::move(value);
    EXPECT_EQ(addressOf(*moved.stringValue()), address);
    const auto out = std::move(moved).stringValue();
    EXPECT_EQ(addressOf(*out), address);
    EXPECT_EQ(out->size(), 100'000U);
}

TEST(JSONValue, AValueMayBeAssignedAPartOfItself) {
    auto value = JSONValue::array(JSONValue::array(longText, 2));
    value = JSONValue{*value[0]};
    EXPECT_EQ(value, JSONValue::array(longText, 2));
    value = *value[0];
    EXPECT_EQ(value, JSONValue{longText});
    const JSONValue& same = value;
    value = same;
    EXPECT_EQ(value, JSONValue{longText});
}

TEST(JSONValue, TakeMovesAMemberOut) {
    auto value = JSONValue::object({{"text", longText}});
    EXPECT_EQ(value.take("text"), JSONValue{longText});
    EXPECT_EQ(value.take("text"), JSONValue{});
    EXPECT_EQ(value.take("other"), std::nullopt);
    EXPECT_EQ(JSONValue{5}.take("text"), std::nullopt);
}

TEST(JSONValue, SetAndAppendKeepAnObjectSortedAndAnArrayInOrder) {
    auto object = JSONValue::object();
    auto array = JSONValue::array();
    for (int i = 99; i >= 0; --i) {
        object.set("key" + std::to_string(i), i);
        array.append(i);
    }
    object.set("key7", "seven");
    EXPECT_EQ(object.objectValue()->size(), 100U);
    EXPECT_EQ(object["key7"]->stringValue(), "seven");
    EXPECT_EQ(array[0]->doubleValue(), 99.0);
    EXPECT_EQ(array[99]->doubleValue(), 0.0);
    std::string last;
    for (const auto members = *object.objectValue(); const JSONMember& member : members) {
        EXPECT_LT(last, member.key());
        last = member.key();
    }
}
