// Strings of hundreds of kilobytes are read in their own way, which must show in nothing.

#include "MCPStdio/json/JSONReader.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>

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

struct Refusal {
    std::size_t at = 0; ///< the byte that the message names
    std::string why;    ///< the rest of the message
};

/// Returns how a text is refused.
Refusal refusal(std::string_view text, JSONReader::Encoding encoding) {
    try {
        JSONReader{text, encoding}.read();
        return {0, "none"};
    } catch (const JSONError& found) {
        const std::string message = found.what();
        const auto digits = message.find_first_of("0123456789");
        const auto end = message.find_first_not_of("0123456789", digits);
        return {std::stoul(message.substr(digits, end - digits)), message.substr(end)};
    }
}

} // namespace

TEST(JSONReader, HugeStringsOfEveryLengthAroundTheLimitsReadAsWhatTheyMean) {
    const std::string begin = times(4100, written);
    const std::string text = times(4100, meant);
    constexpr std::array<std::pair<std::string_view, std::string_view>, 3> endings{
        {{"", ""}, {R"(\n)", "\n"}, {R"(\ud83d\ude00)", "😀"}}};
    for (std::size_t more = 0; more < 40; ++more) {
        for (const auto& [ending, read] : endings) {
            const std::string filler(more, 'x');
            const std::string json = "[\"" + begin + filler + std::string{ending} + R"(","after"])";
            const auto value = JSONReader{json, JSONReader::Encoding::validUTF8}.read();
            ASSERT_EQ(value, JSONValue::array(text + filler + std::string{read}, "after"));
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
         {R"(\x")"s, R"(\ud800")"s, R"(\udc00 ")"s, R"(\u12G4")"s, "\x01\""s, "\x1f\""s, "\0\""s,
          "\n"s, ""s, "\\"s, R"(\u12)"s, R"(\")"s, R"(" x)"s}) {
        for (const auto encoding :
             {JSONReader::Encoding::validUTF8, JSONReader::Encoding::unknown}) {
            const auto near = refusal("[\"é\\n" + wrong, encoding);
            const auto far = refusal("[\"é\\n" + begin + wrong, encoding);
            ASSERT_NE(near.why, "none") << wrong;
            EXPECT_EQ(far.why, near.why) << wrong;
            EXPECT_EQ(far.at, near.at + begin.size()) << wrong;
        }
    }
}

TEST(JSONReader, OfTwoFaultsInAHugeStringTheFirstIsReported) {
    const std::string begin = times(5000, written);
    for (const std::string& wrong : {"\xFF \\x\""s, "\\x \xFF\""s, "\xFF"s, "\xFF\""s}) {
        const auto near = refusal("[\"é\\n" + wrong, JSONReader::Encoding::unknown);
        const auto far = refusal("[\"é\\n" + begin + wrong, JSONReader::Encoding::unknown);
        ASSERT_NE(near.why, "none");
        EXPECT_EQ(far.why, near.why);
        EXPECT_EQ(far.at, near.at + begin.size());
    }
}
