// What holds of values that were read, whose content is in one memory, and of their parts.

#include "MCPStdio/json/JSONTree.hpp"

#include "MCPStdio/json/JSONValue.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace MCPStdio;

namespace {

const std::string shortText = "fifteen letters";
const std::string mediumText(300, 'm');
const std::string veryLongText(100'000, 'l');

std::string textOfEveryKind() {
    return R"({"number":7,"short":")" + shortText + R"(","medium":")" + mediumText +
           R"(","long":")" + veryLongText + R"(","array":[1,")" + mediumText + R"(",[")" +
           veryLongText + R"("]],"object":{"b":[],"a":{"deep":")" + mediumText + R"("}}})";
}

JSONValue valueOfEveryKind() {
    return JSONValue::object(
        {{"number", 7},
         {"short", shortText},
         {"medium", mediumText},
         {"long", veryLongText},
         {"array", JSONValue::array(1, mediumText, JSONValue::array(veryLongText))},
         {"object", JSONValue::object({{"a", JSONValue::object({{"deep", mediumText}})},
                                       {"b", JSONValue::array()}})}});
}

} // namespace

TEST(JSONTree, AReadValueEqualsOneThatWasBuilt) {
    const auto read = JSONValue::parse(textOfEveryKind());
    EXPECT_EQ(read, valueOfEveryKind());
    EXPECT_EQ(read.hash(), valueOfEveryKind().hash());
    EXPECT_EQ(read.jsonString(), valueOfEveryKind().jsonString());
}

TEST(JSONTree, AValueWithoutArraysAndObjectsNeedsNoMemoryOfATree) {
    for (const std::string& text : {shortText, mediumText, veryLongText}) {
        auto read = JSONValue::parse('"' + text + '"');
        EXPECT_EQ(read, JSONValue{text});
        EXPECT_EQ(std::move(read).stringValue(), text);
    }
    EXPECT_EQ(JSONValue::parse("[]"), JSONValue::array());
    EXPECT_EQ(JSONValue::parse("{}"), JSONValue::object());
}

TEST(JSONTree, WhatIsTakenOutOutlivesTheTree) {
    const auto expected = valueOfEveryKind();
    for (const auto members = *expected.objectValue(); const JSONMember& member : members) {
        auto read = JSONValue::parse(textOfEveryKind());
        auto taken = read.take(member.key());
        EXPECT_TRUE(read[member.key()]->isNull());
        read = JSONValue{};
        EXPECT_EQ(taken, member.value) << member.key();
    }
}

TEST(JSONTree, ALongTextIsMovedOutOfATree) {
    auto read = JSONValue::parse(textOfEveryKind());
    const auto* const address = read["long"]->stringValue()->data();
    const auto text = read.take("long").value_or(nullptr).stringValue();
    EXPECT_EQ(text, veryLongText);
    EXPECT_EQ(text->data(), address);
}

TEST(JSONTree, AllMayBeTakenOutInTurn) {
    auto read = JSONValue::parse(textOfEveryKind());
    auto object = *read.take("object");
    auto inner = *object.take("a");
    auto deep = *inner.take("deep");
    const auto array = *read.take("array");
    read = object = inner = JSONValue{};
    EXPECT_EQ(deep, JSONValue{mediumText});
    EXPECT_EQ(array, *valueOfEveryKind()["array"]);
}

TEST(JSONTree, WhatLeavesATreeStaysTheSame) {
    auto small = JSONValue::parse(R"({"part":{"a":[1,"not so short a text"]},"rest":1})");
    auto part = *small.take("part");
    part.leaveTree();
    small = JSONValue{};
    EXPECT_EQ(part.jsonString(), R"({"a":[1,"not so short a text"]})");
    auto large = *JSONValue::parse(textOfEveryKind()).take("object");
    large.leaveTree();
    EXPECT_EQ(large, *valueOfEveryKind()["object"]);
    JSONValue scalar{7};
    scalar.leaveTree();
    EXPECT_EQ(scalar, JSONValue{7});
}

TEST(JSONTree, ATreeMayBecomePartOfAnotherAndBeTakenOutAgain) {
    auto outer = JSONValue::object({{"tree", JSONValue::parse(textOfEveryKind())}});
    outer.set("more", JSONValue::array(JSONValue::parse("[1,[2]]")));
    const JSONValue copy = outer;
    auto tree = outer.take("tree");
    EXPECT_EQ(tree, valueOfEveryKind());
    EXPECT_EQ(*copy["tree"], valueOfEveryKind());
    EXPECT_EQ(outer.jsonString(), R"({"more":[[1,[2]]],"tree":null})");
}

TEST(JSONTree, AReadValueCanBeChanged) {
    auto object = JSONValue::parse(textOfEveryKind());
    auto array = *object.take("array");
    for (int i = 0; i < 20; ++i) {
        object.set("added" + std::to_string(i), JSONValue::array(i, mediumText));
        array.append(mediumText);
    }
    object.set("short", "changed");
    array.append(array); // a copy of what it is now
    EXPECT_EQ(object["added19"]->jsonString(), "[19,\"" + mediumText + "\"]");
    EXPECT_EQ(object["short"]->stringValue(), "changed");
    EXPECT_EQ(*object["medium"], JSONValue{mediumText});
    EXPECT_EQ(array.arrayValue()->size(), 24U);
    EXPECT_EQ(array[23]->arrayValue()->size(), 23U);
}

TEST(JSONTree, AMemberMayBeSetByItsOwnKey) {
    auto object = JSONValue::parse(R"({"a name that is not short":1,"b":2})");
    object.set((*object.objectValue())[0].key(), 3); // the key is in memory that is given up
    EXPECT_EQ(object.jsonString(), R"({"a name that is not short":3,"b":2})");
}

TEST(JSONTree, ACopyOfAPartSharesNothing) {
    auto read = std::make_unique<JSONValue>(JSONValue::parse(textOfEveryKind()));
    const JSONValue copy = *(*read)["array"];
    read.reset();
    EXPECT_EQ(copy, *valueOfEveryKind()["array"]);
}

TEST(JSONTree, PartsAreUsedAndFreedByDifferentThreads) {
    for (int round = 0; round < 50; ++round) {
        auto read = JSONValue::parse(textOfEveryKind());
        std::vector<std::thread> threads;
        for (const char* const key : {"array", "object", "long"}) {
            threads.emplace_back([key, part = *read.take(key)]() mutable {
                EXPECT_EQ(part, *valueOfEveryKind()[key]);
                if (part.kind() == JSONValue::Case::object) {
                    EXPECT_TRUE(part.take("a"));
                }
            });
        }
        read = JSONValue{};
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

TEST(JSONTree, MembersAreThoseOfAMapWhateverTheirOrderAndNumber) {
    std::mt19937 random{3};
    for (std::size_t count = 0; count < 60; ++count) {
        for (int round = 0; round < 40; ++round) {
            std::map<std::string, std::size_t> expected;
            std::string text = "{";
            for (std::size_t i = 0; i < count; ++i) {
                // Few names, so that some occur again; of all kinds of lengths, with common starts.
                std::string name(random() % 3 * 7, 'n');
                name += static_cast<char>('a' + random() % 20);
                expected[name] = i;
                text += (i == 0 ? "\"" : ",\"") + name + "\":" + std::to_string(i);
            }
            const auto value = JSONValue::parse(text + "}");
            ASSERT_EQ(value.objectValue()->size(), expected.size()) << text;
            auto at = expected.begin();
            for (const auto members = *value.objectValue(); const JSONMember& member : members) {
                ASSERT_EQ(member.key(), at->first) << text;
                ASSERT_EQ(member.value.doubleValue(), static_cast<double>(at->second)) << text;
                ++at;
            }
        }
    }
}
