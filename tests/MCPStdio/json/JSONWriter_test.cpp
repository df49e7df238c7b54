#include "MCPStdio/json/JSONWriter.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>

using namespace MCPStdio;

namespace {

std::string compact(const JSONValue& value) {
    return compactEncoder().write(value);
}
/// Escapes a text byte by byte.
std::string escaped(std::string_view text) {
    constexpr std::string_view named = "\"\\\b\f\n\r\t";
    std::string result;
    for (const char byte : text) {
        if (const auto at = named.find(byte); at != std::string_view::npos) {
            result += {'\\', "\"\\bfnrt"[at]};
        } else if (static_cast<unsigned char>(byte) < 0x20) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(byte));
            result += code.data();
        } else {
            result += byte;
        }
    }
    return '"' + result + '"';
}
std::string pretty(const JSONValue& value) {
    return JSONWriter{JSONWriter::Form::pretty}.write(value);
}

} // namespace

TEST(JSONWriter, MembersAreSortedSlashesStayAndNoSpaceIsWritten) {
    const auto value = JSONValue::object({{"b", 1}, {"a", JSONValue::array(nullptr, "x/y")}});
    EXPECT_EQ(compact(value), R"({"a":[null,"x/y"],"b":1})");
}

TEST(JSONWriter, KeysAreInTheOrderOfTheirBytes) {
    EXPECT_EQ(compact(JSONValue::object({{"é", 1}, {"z", 2}, {"Z", 3}, {"", 4}, {"😀", 5}})),
              R"({"":4,"Z":3,"z":2,"é":1,"😀":5})");
}

TEST(JSONWriter, WholeNumbersBelowAQuadrillionHaveNoFraction) {
    EXPECT_EQ(compact(3.0), "3");
    EXPECT_EQ(compact(-0.0), "0");
    EXPECT_EQ(compact(-17), "-17");
    EXPECT_EQ(compact(999999999999999.0), "999999999999999");
    EXPECT_EQ(compact(-999999999999999.0), "-999999999999999");
}

TEST(JSONWriter, FromAQuadrillionOnNumbersTakeTheDoubleForm) {
    EXPECT_EQ(compact(1e15), "1e+15");
    EXPECT_EQ(compact(-1e15), "-1e+15");
    EXPECT_EQ(compact(1e300), "1e+300");
    EXPECT_EQ(compact(0.1), "0.1");
    EXPECT_EQ(compact(1.5), "1.5");
    EXPECT_EQ(compact(5e-324), "5e-324");
}

TEST(JSONWriter, EveryDoubleReadsBackEqual) {
    std::mt19937_64 random{20261014};
    int finite = 0;
    for (int i = 0; i < 200'000; ++i) {
        const auto number = std::bit_cast<double>(random());
        if (!std::isfinite(number)) {
            EXPECT_THROW(compact(number), JSONError);
            continue;
        }
        ++finite;
        ASSERT_EQ(JSONValue::parse(compact(number)).doubleValue(), number) << compact(number);
    }
    EXPECT_GT(finite, 190'000);
}

TEST(JSONWriter, EveryDecimalOfAFewDigitsReadsBackEqual) {
    for (int i = -100'000; i < 100'000; ++i) {
        const double number = i / 1000.0;
        ASSERT_EQ(JSONValue::parse(compact(number)).doubleValue(), number);
    }
}

TEST(JSONWriter, NumbersThatAreNotFiniteAreRefused) {
    EXPECT_THROW(compact(NAN), JSONError);
    EXPECT_THROW(compact(JSONValue::array(INFINITY)), JSONError);
    EXPECT_THROW(pretty(-INFINITY), JSONError);
}

TEST(JSONWriter, ControlCharactersAreEscapedTheShortestWay) {
    EXPECT_EQ(compact(std::string_view{"\0\x01\b\t\n\v\f\r\x1F\x7F\"\\/", 13}),
              "\"\\u0000\\u0001\\b\\t\\n\\u000b\\f\\r\\u001f\x7F\\\"\\\\/\"");
    EXPECT_EQ(compact("é😀\xE2\x80\xA8"), "\"é😀\xE2\x80\xA8\"");
}

TEST(JSONWriter, EscapesAreFoundAtEveryPositionOfALongText) {
    for (std::size_t length = 1; length < 100; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::string text(length, 'x');
            text[at] = '\n';
            ASSERT_EQ(JSONValue::parse(compact(text)).stringValue(), text);
            ASSERT_EQ(compact(text).size(), length + 3);
        }
    }
}

TEST(JSONWriter, TextsOfAllLengthsAreEscapedAsByteByByte) {
    std::mt19937 random{7};
    for (std::size_t length = 0; length < 5000; length += length < 200 ? 1 : 97) {
        for (const unsigned escapes : {1U, 4U, 40U, 4000U}) { // one in so many bytes
            std::string text(length, 'x');
            for (char& byte : text) {
                byte =
                    static_cast<char>(random() % escapes == 0 ? random() % 0x60 : random() % 256);
            }
            TextBuffer buffer{"before "};
            appendJSONString(buffer, text);
            ASSERT_EQ(buffer.view(), "before " + escaped(text)) << length;
        }
        const std::string worst(length, '\x01');
        ASSERT_EQ(compact(worst), escaped(worst));
    }
}

TEST(JSONWriter, ThePrettyFormHasOneItemALineAndSpacesAroundColons) {
    const auto value = JSONValue::object({
        {"b", JSONValue::array(1, JSONValue::object({{"x/y", "z"}}))},
        {"a", nullptr},
    });
    EXPECT_EQ(pretty(value), "{\n"
                             "  \"a\" : null,\n"
                             "  \"b\" : [\n"
                             "    1,\n"
                             "    {\n"
                             "      \"x/y\" : \"z\"\n"
                             "    }\n"
                             "  ]\n"
                             "}");
}

TEST(JSONWriter, EmptyContainersAreTheirBrackets) {
    EXPECT_EQ(pretty(JSONValue::array()), "[]");
    EXPECT_EQ(pretty(JSONValue::object({{"a", JSONValue::object()}})), "{\n  \"a\" : {}\n}");
}
