#include "MCPStdio/json/JSONReader.hpp"

#include "MCPStdio/json/JSONWriter.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <string_view>

using namespace MCPStdio;

namespace {

std::string nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

/// Returns the message with which a text is refused.
std::string error(std::string_view text) {
    try {
        JSONValue::parse(text);
        return "none";
    } catch (const JSONError& found) {
        return found.what();
    }
}

std::string rewritten(std::string_view text) {
    return JSONValue::parse(text).jsonString();
}

} // namespace

TEST(JSONReader, WholeNumbersReadAsNumbersAndAreWrittenWithoutFraction) {
    EXPECT_EQ(JSONValue::parse("1").doubleValue(), 1.0);
    EXPECT_EQ(rewritten("1"), "1");
    EXPECT_EQ(rewritten("1.0"), "1");
    EXPECT_EQ(rewritten("1.5"), "1.5");
    EXPECT_EQ(rewritten("-0"), "0");
    EXPECT_EQ(rewritten("1E2"), "100");
}

TEST(JSONReader, TrueIsNoNumberAndZeroIsNoBool) {
    EXPECT_EQ(JSONValue::parse("true").boolValue(), true);
    EXPECT_EQ(JSONValue::parse("false").boolValue(), false);
    EXPECT_TRUE(JSONValue::parse("null").isNull());
    EXPECT_EQ(JSONValue::parse("true").doubleValue(), std::nullopt);
    EXPECT_EQ(JSONValue::parse("0").boolValue(), std::nullopt);
}

TEST(JSONReader, NumbersAreReadToTheNearestDouble) {
    EXPECT_EQ(JSONValue::parse("0.1").doubleValue(), 0.1);
    EXPECT_EQ(JSONValue::parse("-65.613616999999977").doubleValue(), -65.613616999999977);
    EXPECT_EQ(JSONValue::parse("123456789012345678901234567890").doubleValue(),
              123456789012345678901234567890.0);
    EXPECT_EQ(JSONValue::parse("1.7976931348623157e308").doubleValue(), 1.7976931348623157e308);
    EXPECT_EQ(JSONValue::parse("5e-324").doubleValue(), 5e-324);
    EXPECT_EQ(JSONValue::parse("1e-400").doubleValue(), 0.0);
    EXPECT_EQ(JSONValue::parse("0.000000000000000000000001234").doubleValue(), 1.234e-24);
    EXPECT_EQ(JSONValue::parse("9007199254740993").doubleValue(), 9007199254740992.0);
    EXPECT_EQ(JSONValue::parse("100000000000000000000000").doubleValue(), 1e23);
}

TEST(JSONReader, NumbersOfAnyFormAndLengthAreReadAsTheCLibraryReadsThem) {
    std::mt19937_64 random{1};
    const auto digits = [&](std::size_t most) {
        std::string text;
        for (std::size_t i = random() % most + 1; i > 0; --i) {
            text += static_cast<char>('0' + random() % 10);
        }
        return text;
    };
    for (int i = 0; i < 30'000; ++i) {
        std::string number = random() % 2 == 0 ? "-" : "";
        const std::string whole = digits(21);
        number += whole.front() == '0' ? "0" : whole;
        if (random() % 3 != 0) {
            number += (random() % 4 == 0 ? ".00000" : ".") + digits(21);
        }
        if (random() % 3 == 0) {
            constexpr std::array<const char*, 6> exponents{"e", "E", "e+", "E-", "e-00", "e0"};
            number += exponents[random() % exponents.size()] + digits(2);
        }
        const double expected = std::strtod(number.c_str(), nullptr);
        // More text follows the number, or none.
        const auto read = JSONValue::parse(i % 2 == 0 ? number : "[" + number + ",12345678]");
        const double value = *(i % 2 == 0 ? read : *read[0]).doubleValue();
        ASSERT_EQ(value, expected) << number;
        ASSERT_EQ(std::signbit(value), std::signbit(expected)) << number;
    }
}

TEST(JSONReader, ExponentsBeyondAnyDoubleGiveZeroOrAnError) {
    const std::string many(30, '9');
    EXPECT_EQ(JSONValue::parse("1e-" + many).doubleValue(), 0.0);
    EXPECT_EQ(JSONValue::parse("0e" + many).doubleValue(), 0.0);
    EXPECT_EQ(JSONValue::parse("0." + std::string(400, '0') + "1e402").doubleValue(), 10.0);
    EXPECT_THROW(JSONValue::parse("1e" + many), JSONError);
    EXPECT_THROW(JSONValue::parse("-1e4294967297"), JSONError);
}

TEST(JSONReader, EscapesAndSurrogatePairsBecomeText) {
    EXPECT_EQ(JSONValue::parse(R"("\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00\u0000")").stringValue(),
              (std::string_view{"\"\\/\b\f\n\r\té😀\0", 15}));
    EXPECT_EQ(JSONValue::parse("\"caf\xC3\xA9 \\n \xF0\x9F\x98\x80\"").stringValue(), "café \n 😀");
}

TEST(JSONReader, EveryHexadecimalDigitOfEitherCaseIsOne) {
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const auto value = static_cast<char32_t>(i < 16 ? i : i - 6);
        const std::string text = R"("\u1111")";
        for (std::size_t place = 0; place < 4; ++place) {
            std::string escape = text;
            escape[3 + place] = digits[i];
            const char32_t unit = 0x1111 + (value - 1) * (char32_t{0x1000} >> 4 * place);
            std::string expected;
            appendUTF8(expected, unit);
            ASSERT_EQ(JSONValue::parse(escape).stringValue(), expected) << escape;
        }
    }
}

TEST(JSONReader, EmptyArraysAndObjectsAreFollowedByMore) {
    const std::string text = R"([{},[],{"a":{},"b":[],"c":1},[],{},2])";
    EXPECT_EQ(rewritten(text), text);
}

TEST(JSONReader, EveryPairOfEscapesIsASurrogatePairOrAnError) {
    const auto escape = [](unsigned unit) {
        std::array<char, 8> text{};
        std::snprintf(text.data(), text.size(), "\\u%04x", unit);
        return std::string{text.data()};
    };
    for (const unsigned high : {0xD7FFU, 0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0xE000U}) {
        for (const unsigned low :
             {0x0041U, 0xD7FFU, 0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0xE000U, 0xFFFFU}) {
            const std::string text = "\"" + escape(high) + escape(low) + "\"";
            const auto isHigh = [](unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
            const auto isLow = [](unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
            const bool isPair = isHigh(high) && isLow(low);
            const bool isPlain = !isHigh(high) && !isLow(high) && !isHigh(low) && !isLow(low);
            if (isPair || isPlain) {
                EXPECT_NO_THROW(JSONValue::parse(text)) << text;
            } else {
                EXPECT_THROW(JSONValue::parse(text), JSONError) << text;
            }
        }
    }
    EXPECT_EQ(JSONValue::parse(R"("\ud800\udc00\udbff\udfff")").stringValue(),
              "\U00010000\U0010FFFF");
}

TEST(JSONReader, LongTextsWithEscapesFollowOneAnother) {
    std::string line(5000, 'a');
    line += "\\n";
    std::string text(5000, 'a');
    text += '\n';
    const auto value = JSONValue::parse("[\"" + line + "\",\"b\\t\",\"" + line + line + "\"]");
    EXPECT_EQ(value, JSONValue::array(text, "b\t", text + text));
}

TEST(JSONReader, OfDuplicateMembersTheLastWins) {
    EXPECT_EQ(rewritten(R"({"a":1,"b":2,"a":3})"), R"({"a":3,"b":2})");
    EXPECT_EQ(rewritten(R"({"z":1,"z":2,"a":1,"z":3,"a":2})"), R"({"a":2,"z":3})");
}

TEST(JSONReader, AValueReplacedByADuplicateMemberIsFreed) { // as the leak sanitizer checks
    const std::string large(100, 'x');
    const auto value = JSONValue::parse(R"({"a":")" + large + R"(","a":[[1]],"a":{"b":2}})");
    EXPECT_EQ(value.jsonString(), R"({"a":{"b":2}})");
}

TEST(JSONReader, AnObjectOfManyMembersIsSortedAndKeepsTheLastValues) {
    std::string text{"{"};
    for (int round = 0; round < 2; ++round) {
        for (int i = 999; i >= 0; --i) {
            text += "\"key" + std::to_string(i) + "\":" + std::to_string(round * 1000 + i) + ",";
        }
    }
    text.back() = '}';
    const auto value = JSONValue::parse(text);
    EXPECT_EQ(value.objectValue()->size(), 1000U);
    EXPECT_EQ(value["key0"]->doubleValue(), 1000.0);
    EXPECT_EQ(value["key999"]->doubleValue(), 1999.0);
}

TEST(JSONReader, WhiteSpaceIsAllowedAroundEverything) {
    EXPECT_EQ(rewritten(" \t\r\n{ \"a\" : [ 1 , { } , [ ] ] } \n"), R"({"a":[1,{},[]]})");
}

TEST(JSONReader, NestingEndsAt512) {
    EXPECT_NO_THROW(JSONValue::parse(nested(512)));
    EXPECT_THROW(JSONValue::parse(nested(513)), JSONError);
    EXPECT_THROW(JSONValue::parse(std::string(100'000, '[')), JSONError);
    std::string objects;
    for (int i = 0; i < 100'000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_THROW(JSONValue::parse(objects), JSONError);
}

TEST(JSONReader, NestingCountsObjectsAndArraysAlike) {
    const auto repeated = [](const char* text, int times) {
        std::string all;
        for (int i = 0; i < times; ++i) {
            all += text;
        }
        return all;
    };
    const auto objects = [&](int depth) {
        return repeated("{\"a\":", depth) + "1" + repeated("}", depth);
    };
    const auto inTurns = [&](int pairs) {
        return repeated("[{\"a\":", pairs) + "1" + repeated("}]", pairs);
    };
    EXPECT_NO_THROW(JSONValue::parse(objects(512)));
    EXPECT_THROW(JSONValue::parse(objects(513)), JSONError);
    EXPECT_NO_THROW(JSONValue::parse(inTurns(256)));
    EXPECT_THROW(JSONValue::parse("[" + inTurns(256) + "]"), JSONError);
    EXPECT_THROW(JSONValue::parse("{\"a\":" + inTurns(256) + "}"), JSONError);
}

class RefusedJSON : public testing::TestWithParam<std::string> {};

TEST_P(RefusedJSON, IsAnError) {
    EXPECT_THROW(JSONValue::parse(GetParam()), JSONError) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, RefusedJSON,
    testing::Values("", " ", "nul", "nulll", "True", "NaN", "Infinity", "-Infinity", "undefined",
                    "01", "-01", "00", "+1", "1.", ".5", "1.e5", "1e", "1e+", "-", "--1", "0x1",
                    "1 2", "1,", "[1,]", "[,1]", "[1 2]", "[", "]", "{", "}", "{\"a\"}", "{\"a\":}",
                    "{\"a\":1,}", "{,}", "{a:1}", "{'a':1}", "{1:2}", "'a'", "// c\n1", "/* c */1",
                    "[1]//", "\"", "\"a", "\"\\", "\"\\x\"", "\"\\u12\"", "\"\\u12G4\"", "1e400",
                    "-1e400", "1" + std::string(400, '0'), "\xEF\xBB\xBF{}", "[1]]", "{\"a\":1}}"));

INSTANTIATE_TEST_SUITE_P(Strings, RefusedJSON,
                         testing::Values("\"\\ud800\"", "\"\\udc00\"", "\"\\ud800\\u0041\"",
                                         "\"\\ud800x\"", "\"\\ud800\\n\"", "\"\\ud800\\ud800\"",
                                         "\"a\nb\"", "\"a\tb\"", std::string{"\"a\0b\"", 5},
                                         "\"\x1F\"", "\"\xFF\"", "\"\xC3\"", "\"\xC0\xAF\"",
                                         "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"",
                                         "\"abc\\n\xFF\"", "{\"\\ud800\":1}",
                                         std::string{"[1\0]", 4}));

TEST(JSONReader, AnErrorNamesTheByteAtFaultAndTheReason) {
    struct Refused {
        std::string text;
        int byte;
        const char* reason;
    };
    const Refused all[] = {
        {"", 0, "expected a value"},
        {"[1, 2, x]", 7, "expected a value"},
        {"tru", 0, "expected a value"},
        {"[nul]", 1, "expected a value"},
        {"-", 1, "expected a value"},
        {"1.", 2, "expected a value"},
        {"-1.x", 3, "expected a value"},
        {"1e", 2, "expected the digits of an exponent"},
        {"1E+", 3, "expected the digits of an exponent"},
        {"[1e-]", 4, "expected the digits of an exponent"},
        {"1e400", 5, "a number too large for a double"},
        {"[1 2]", 3, "expected , or ]"},
        {"[1", 2, "expected , or ]"},
        {"{\"a\":1 2}", 7, "expected , or }"},
        {"{1:2}", 1, "expected a key"},
        {"{\"a\":1,}", 7, "expected a key"},
        {"{\"a\" 1}", 5, "expected :"},
        {"[1] x", 4, "unexpected text after the value"},
        {"\"ab", 3, "a string without an end"},
        {"\"ab\\", 4, "a string without an end"},
        {"\"a\\nb", 5, "a string without an end"},
        {"\"a\x01\"", 2, "a control character"},
        {"\"\\n\x1F\"", 3, "a control character"},
        {"\"\\u12G4\"", 5, "expected four hexadecimal digits"},
        {"\"\\u/\"", 3, "expected four hexadecimal digits"},
        {"\"\\u:\"", 3, "expected four hexadecimal digits"},
        {"\"\\u@\"", 3, "expected four hexadecimal digits"},
        {"\"\\u`\"", 3, "expected four hexadecimal digits"},
        {"\"\\ug\"", 3, "expected four hexadecimal digits"},
        {"\"\\ud800x\"", 7, "a lone surrogate"},
        {"\"\\udc00\"", 7, "a lone surrogate"},
        {std::string(513, '['), 512, "nested too deeply"},
    };
    for (const auto& [text, byte, reason] : all) {
        EXPECT_EQ(error(text), "not JSON at byte " + std::to_string(byte) + ": " + reason) << text;
    }
}

TEST(JSONReader, TheFirstErrorInTheTextIsReported) {
    EXPECT_EQ(error("[\"é\", \"ok\", \"语\xFF\", x]"),
              "not JSON at byte 17: ill-formed UTF-8 in a string");
    EXPECT_EQ(error("[\"é\", x, \"\xFF\"]"), "not JSON at byte 7: expected a value");
    EXPECT_EQ(error("[1, 2, \xC3\xA9]"), "not JSON at byte 7: expected a value");
    EXPECT_EQ(error("[\"é\",\"\xFF\",\"and a text that is longer\"]"),
              "not JSON at byte 7: ill-formed UTF-8 in a string");
    EXPECT_EQ(error("[\"a\x80\"]"), "not JSON at byte 3: ill-formed UTF-8 in a string");
}

TEST(JSONReader, WhatSurroundsATextInMemoryIsNotRead) {
    const auto outcome = [](std::string_view text) {
        const std::string why = error(text);
        return why == "none" ? rewritten(text) : why;
    };
    for (const char around : {' ', '0', '1', 'e', '.', '"', '\\', ']', '}', ',', '\xA9'}) {
        const std::string frame(100, around);
        for (const std::string text : {"1",
                                       "12345678",
                                       "-0.5e-3",
                                       "1e400",
                                       "123456789012345678901234567890",
                                       "true",
                                       "\"a\"",
                                       "\"a\\u00e9\"",
                                       "[1,         2]",
                                       "[ ]",
                                       "[1, 2, 3, 4, 5, 6, 7, 8, 9]",
                                       "{ \"a\" : 1 }  ",
                                       "1 ",
                                       "",
                                       "[",
                                       "\"a",
                                       "\"a\\",
                                       "\"\\u00",
                                       "1e",
                                       "1.",
                                       "-",
                                       "tru",
                                       "\"\xC3"}) {
            const std::string framed = frame + text + frame;
            EXPECT_EQ(outcome(std::string_view{framed}.substr(frame.size(), text.size())),
                      outcome(text))
                << text << " between " << around;
        }
    }
}

TEST(JSONReader, EveryProperPrefixOfATextIsAnError) {
    const std::string text = R"({"a":[1.5e-3,"x\u00e9\ud83d\ude00",true,null,{"b":false}]})";
    ASSERT_NO_THROW(JSONValue::parse(text));
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_THROW(JSONValue::parse(text.substr(0, length)), JSONError) << length;
    }
}

TEST(JSONReader, ChangingAnyByteGivesAnErrorOrAValueThatReadsBackEqual) {
    const std::string text = R"({"a":[1.5e-3,"x\u00e9\ud83d\ude00",true,null,{"b":false}]})";
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = text;
            changed[at] = static_cast<char>(byte);
            try {
                const auto value = JSONValue::parse(changed);
                EXPECT_EQ(JSONValue::parse(value.jsonString()), value) << changed;
            } catch (const JSONError&) {
                continue;
            }
        }
    }
}

namespace {

/// Finds what is wrong first in a text that consists of one string, byte by byte: the index, or
/// nullopt if it can be read. `value` is what it says.
std::optional<std::size_t> firstFault(std::string_view text, std::string& value) {
    const auto digits = [&](std::size_t at) -> std::optional<unsigned> {
        unsigned number = 0;
        for (std::size_t i = at; i < at + 4; ++i) {
            const auto nibble =
                std::string_view{"0123456789abcdef"}.find(i < text.size() ? text[i] : '-');
            if (nibble == std::string_view::npos) {
                return std::nullopt;
            }
            number = number * 16 + static_cast<unsigned>(nibble);
        }
        return number;
    };
    const std::size_t valid = findInvalidUTF8(text);
    for (std::size_t at = 1;; ++at) {
        if (at >= valid || at == text.size() || static_cast<unsigned char>(text[at]) < 0x20) {
            return at;
        }
        if (text[at] == '"') {
            return at + 1 == text.size() ? std::nullopt : std::optional{at + 1};
        }
        if (text[at] != '\\') {
            value += text[at];
            continue;
        }
        const std::size_t fault = at;
        ++at;
        constexpr std::string_view names = "\"\\/bfnrt";
        const auto named = names.find(at < text.size() ? text[at] : '-');
        if (named != std::string_view::npos) {
            value += "\"\\/\b\f\n\r\t"[named];
            continue;
        }
        const auto unit = at < text.size() && text[at] == 'u' ? digits(at + 1) : std::nullopt;
        if (!unit || (*unit >= 0xDC00 && *unit < 0xE000)) {
            return fault;
        }
        at += 4;
        char32_t scalar = *unit;
        if (*unit >= 0xD800 && *unit < 0xDC00) {
            const bool follows = text.substr(std::min(at + 1, text.size())).starts_with("\\u");
            const auto low = follows ? digits(at + 3) : std::nullopt;
            if (!low || *low < 0xDC00 || *low > 0xDFFF) {
                return fault;
            }
            scalar = 0x10000 + ((scalar - 0xD800) << 10U) + (*low - 0xDC00);
            at += 6;
        }
        appendUTF8(value, scalar);
    }
}

} // namespace

TEST(JSONReader, StringsOfAllLengthsReadAsOnesReadByteByByte) {
    constexpr std::array<std::string_view, 16> pieces{"a",
                                                      "plain text, ",
                                                      "sixteen letters!",
                                                      "é",
                                                      "“語”",
                                                      "😀",
                                                      R"(\n)",
                                                      R"(\")",
                                                      R"(\\)",
                                                      R"(\u00e9)",
                                                      R"(\ud83d\ude00)",
                                                      R"(\u0000)",
                                                      " ",
                                                      R"(\/\t)",
                                                      "x",
                                                      "{[,]}"};
    constexpr std::array<std::string_view, 10> faults{
        "\n",        "\xFF",      "\xE2\x80", R"(\x)", R"(\u12g4)",
        R"(\ud800)", R"(\ude00)", "\"",       "\\",    "\xED\xA0\x80"};
    std::mt19937 random{5};
    int refused = 0;
    for (int round = 0; round < 30'000; ++round) {
        // Some are long, and one in two has one fault, somewhere.
        const std::size_t count = random() % (round % 50 == 0 ? 1500 : 12);
        const std::size_t fault = random() % (2 * count + 1);
        const bool plain = random() % 3 == 0;
        std::string text = "\"";
        for (std::size_t i = 0; i < count; ++i) {
            text += pieces[random() % (plain ? 3 : pieces.size())];
            text += i == fault ? faults[random() % faults.size()] : "";
        }
        text += random() % 20 == 0 ? "" : "\"";
        std::string expected;
        const auto at = firstFault(text, expected);
        try {
            const auto value = JSONValue::parse(text);
            ASSERT_FALSE(at) << text;
            ASSERT_EQ(value.stringValue(), expected) << text;
            // The same string where other bytes precede and follow it.
            const auto within = JSONValue::parse("{\"name\":[" + text + ",\"" + "]\"]}");
            ASSERT_EQ((*within["name"])[0]->stringValue(), expected) << text;
        } catch (const JSONError& error) {
            ++refused;
            ASSERT_TRUE(at) << text << error.what();
            // Escapes are reported where they end being right.
            const std::string where = error.what() + std::string_view{"not JSON at byte "}.size();
            const std::size_t reported = std::stoul(where);
            ASSERT_GE(reported, *at) << text;
            ASSERT_LE(reported, *at + 7) << text;
        }
    }
    EXPECT_GT(refused, 5000);
    EXPECT_LT(refused, 25'000);
}
