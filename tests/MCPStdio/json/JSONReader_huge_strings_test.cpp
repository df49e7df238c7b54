// Strings of hundreds of kilobytes are read in their own way, which must show in nothing.

#include "MCPStdio/json/JSONReader.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace MCPStdio;
using namespace std::string_literals;

namespace {

/// About what people write, as JSON writes it, and as it reads.
constexpr std::string_view written =
    R"(A “quoted” word, an é and a\nsecond line with a \\ and \u00e9. )";
const std::string meant = "A “quoted” word, an é and a\nsecond line with a \\ and é. ";

std::string times(std::size_t count, std::string_view text) {
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

/// Returns the message with which a text is refused, without the index of a byte in it.
std::string refusal(std::string_view text, JSONReader::Encoding encoding, std::size_t& at) {
    try {
        JSONReader{text, encoding}.read();
        return "none";
    } catch (const JSONError& found) {
        const std::string message = found.what();
        const auto digits = message.find_first_of("0123456789");
        const auto end = message.find_first_not_of("0123456789", digits);
        at = std::stoul(message.substr(digits, end - digits));
        return message.substr(end);
    }
}

} // namespace

TEST(JSONReader, HugeStringsOfEveryLengthAroundTheLimitsReadAsWhatTheyMean) {
    const std::string begin = times(4100, written);
    const std::string text = times(4100, meant);
    for (std::size_t more = 0; more < 40; ++more) {
        for (const char* const end : {"", R"(\n)", R"(\ud83d\ude00)"}) {
            const std::string_view ending = end;
            const std::string last = ending.empty() ? "" : ending == R"(\n)" ? "\n" : "😀";
            const std::string json = "[\"" + begin + std::string(more, 'x') + end + R"(","after"])";
            const auto value = JSONReader{json, JSONReader::Encoding::validUTF8}.read();
            ASSERT_EQ(value, JSONValue::array(text + std::string(more, 'x') + last, "after"));
            ASSERT_EQ(value, JSONValue::parse(json));
        }
    }
}

TEST(JSONReader, HugeStringsFollowOneAnother) {
    const std::string json = '"' + times(5000, written) + '"';
    const JSONValue expected{times(5000, meant)};
    const auto value = JSONValue::parse("[" + json + "," + json + "," + json + "]");
    EXPECT_EQ(value, JSONValue::array(expected, expected, expected));
}

TEST(JSONReader, AHugeStringIsRefusedForWhatAShortOneIs) {
    const std::string begin = times(5000, written);
    for (const std::string& wrong :
         {R"(\x")"s, R"(\ud800")"s, R"(\udc00 ")"s, R"(\u12G4")"s, "\x01\""s, "\0\""s, "\n"s, ""s,
          "\\"s, R"(\u12)"s, R"(\")"s, R"(" x)"s}) {
        for (const auto encoding :
             {JSONReader::Encoding::validUTF8, JSONReader::Encoding::unknown}) {
            std::size_t near = 0;
            std::size_t far = 0;
            const auto expected = refusal("[\"é\\n" + wrong, encoding, near);
            ASSERT_NE(expected, "none") << wrong;
            EXPECT_EQ(refusal("[\"é\\n" + begin + wrong, encoding, far), expected) << wrong;
            EXPECT_EQ(far, near + begin.size()) << wrong;
        }
    }
}

TEST(JSONReader, OfTwoFaultsInAHugeStringTheFirstIsReported) {
    const std::string begin = times(5000, written);
    for (const std::string& wrong : {"\xFF \\x\""s, "\\x \xFF\""s, "\xFF"s, "\xFF\""s}) {
        std::size_t near = 0;
        std::size_t far = 0;
        const auto expected = refusal("[\"é\\n" + wrong, JSONReader::Encoding::unknown, near);
        ASSERT_NE(expected, "none");
        EXPECT_EQ(refusal("[\"é\\n" + begin + wrong, JSONReader::Encoding::unknown, far), expected);
        EXPECT_EQ(far, near + begin.size());
    }
}
