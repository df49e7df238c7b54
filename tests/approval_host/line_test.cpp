#include "approval_host/LineBuffer.hpp"
#include "approval_host/question/Question.hpp"
#include "approval_host/screens/TypedLines.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace velmiro::host {
namespace {

using Answer = TypedLines::Answer;
using State = LineBuffer::State;

TEST(LineBuffer, JoinsALineThatComesByteByByte) {
    LineBuffer buffer{100};
    for (const char byte : std::string_view{"{\"a\":1}"}) {
        EXPECT_EQ(buffer.add({&byte, 1}), State::incomplete);
    }
    EXPECT_EQ(buffer.add("\n"), State::complete);
    EXPECT_EQ(buffer.take(), "{\"a\":1}");
}

TEST(LineBuffer, DropsWhatFollowsTheFirstLine) {
    LineBuffer buffer{100};
    EXPECT_EQ(buffer.add("one\ntwo\n"), State::complete);
    EXPECT_EQ(buffer.add("three\n"), State::complete);
    EXPECT_EQ(buffer.take(), "one");
}

TEST(LineBuffer, TakesALineOfTheGreatestLengthAndNoLongerOne) {
    LineBuffer buffer{5};
    EXPECT_EQ(buffer.add("12345"), State::incomplete);
    EXPECT_EQ(buffer.add("\n"), State::complete);
    LineBuffer other{5};
    EXPECT_EQ(other.add("123"), State::incomplete);
    EXPECT_EQ(other.add("456"), State::tooLong);
    EXPECT_EQ(other.add("\n"), State::tooLong);
    EXPECT_EQ(other.take(), "");
}

Question read(std::string_view line) {
    auto question = parseQuestion(line);
    if (!question) {
        throw std::runtime_error{"this is a question"};
    }
    return *question;
}

TEST(Question, IsAnObjectWithTwoStrings) {
    const Question question =
        read(R"({"summary":"Shopping list","tool":"notes_create","more":[1]})");
    EXPECT_EQ(question.tool, "notes_create");
    EXPECT_EQ(question.summary, "Shopping list");
}

TEST(Question, IsNothingElse) {
    for (const std::string_view line :
         {"", "x", "{}", "[]", "null", R"({"tool":"a"})", R"({"summary":"a"})",
          R"({"tool":1,"summary":"a"})", R"({"tool":"a","summary":null})", R"(["summary","tool"])",
          R"({"summary":"a","tool":"b"} x)", R"({"summary":"a","tool":"b")"}) {
        EXPECT_FALSE(parseQuestion(line)) << line;
    }
}

TEST(Question, HoldsVisibleBoundedText) {
    const Question question = read(R"({"summary":"a\u001b[2J\u202e\nb","tool":"t ool"})");
    EXPECT_EQ(question.summary, "a␛[2J\\u{202E}␊b");
    EXPECT_EQ(question.tool, "t\\u{20}ool");
    const Question huge =
        read(R"({"summary":")" + std::string(1'000'000, 'x') + R"(","tool":"t"})");
    EXPECT_LT(huge.summary.size(), 600U);
}

TEST(TypedLines, KnowsYesAndNoInEveryCaseAndBetweenBlanks) {
    for (const std::string_view line : {"y\n", "Y\n", "yes\n", "YES\n", "Yes\r\n", "  y \t\n"}) {
        EXPECT_EQ(TypedLines{}.add(line), Answer::yes) << line;
    }
    for (const std::string_view line : {"n\n", "N\n", "no\n", "NO\n", " No\r\n"}) {
        EXPECT_EQ(TypedLines{}.add(line), Answer::no) << line;
    }
}

TEST(TypedLines, KnowsNothingElse) {
    for (const std::string line :
         {"", " ", "ye", "yy", "y n", "1", "true", "ｙ", "yes!", "\033[A"}) {
        EXPECT_EQ(TypedLines{}.add(line + '\n'), Answer::unclear) << line;
    }
    EXPECT_EQ(TypedLines{}.add(std::string_view{"y\0\n", 3}), Answer::unclear);
    EXPECT_EQ(TypedLines{}.add("y" + std::string(500, ' ') + "\n"), Answer::unclear);
}

TEST(TypedLines, WaitsForTheEndOfTheLine) {
    TypedLines typed;
    EXPECT_EQ(typed.add("y"), Answer::none);
    EXPECT_EQ(typed.add("e"), Answer::none);
    EXPECT_EQ(typed.add("s\n"), Answer::yes);
    EXPECT_EQ(typed.add("\n"), Answer::unclear);
}

TEST(TypedLines, FindsTheAnswerBehindUnclearLines) {
    EXPECT_EQ(TypedLines{}.add("what?\nno\n"), Answer::no);
    EXPECT_EQ(TypedLines{}.add("what?\nno"), Answer::unclear);
}

TEST(TypedLines, DropsWhatWasTypedBehindAnAnswer) {
    TypedLines typed;
    EXPECT_EQ(typed.add("n\ny\nye"), Answer::no);
    EXPECT_EQ(typed.add("s\n"), Answer::unclear);
}

TEST(TypedLines, ForgetsALineThatWasBegun) {
    TypedLines typed;
    EXPECT_EQ(typed.add("y"), Answer::none);
    typed.clear();
    EXPECT_EQ(typed.add("\n"), Answer::unclear);
}

} // namespace
} // namespace velmiro::host
