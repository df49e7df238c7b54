#include "approval_host/question/Layout.hpp"

#include "approval_host/question/Question.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace velmiro::host {
namespace {

const Question dentist{"calendar_create_event", "Dentist — 14 Oct 2026, 15:00"};

TEST(Layout, IsPlainWhereThereIsNoTerminal) {
    EXPECT_EQ(questionText(dentist, 0, Style{}), "\ncalendar_create_event wants to:\n"
                                                 "    Dentist — 14 Oct 2026, 15:00\n");
    EXPECT_EQ(promptText(Style{}), "Allow? [y/n] ");
}

TEST(Layout, SaysHowManyQuestionsWait) {
    EXPECT_NE(questionText(dentist, 1, Style{}).find("\n(1 more question waits)\n"),
              std::string::npos);
    EXPECT_NE(questionText(dentist, 12, Style{}).find("\n(12 more questions wait)\n"),
              std::string::npos);
}

TEST(Layout, WritesBoldWhereTheTerminalCan) {
    EXPECT_EQ(promptText(Style{80, true, true}), "\033[1mAllow? [y/n]\033[0m ");
}

TEST(Layout, PutsADecisionOnOneLine) {
    EXPECT_EQ(decisionText(dentist, true, Style{}),
              "allowed calendar_create_event: Dentist — 14 Oct 2026, 15:00\n");
    EXPECT_EQ(decisionText(dentist, false, Style{}),
              "refused calendar_create_event: Dentist — 14 Oct 2026, 15:00\n");
}

TEST(Layout, IndentsADecisionThatNeedsMoreThanARowOfATerminal) {
    EXPECT_EQ(decisionText({"notes_create", "allowed mail: x refused mail: y"}, true,
                           Style{30, false, true}),
              "allowed notes_create: \n    allowed mail: x refused \n    mail: y\n");
}

TEST(Layout, BreaksRowsAtBlanks) {
    const std::vector<std::string_view> expected{"one two ", "three ", "four"};
    EXPECT_EQ(rowsOf("one two three four", 8), expected);
}

TEST(Layout, BreaksWhatHasNoBlankWhereTheRowIsFull) {
    const std::vector<std::string_view> expected{"abcd", "efgh", "ij"};
    EXPECT_EQ(rowsOf("abcdefghij", 4), expected);
    const std::vector<std::string_view> wide{"東京", "東京"};
    EXPECT_EQ(rowsOf("東京東京", 5), wide);
}

TEST(Layout, LeavesRoomForADigitDrawnAsAKey) {
    const std::string key = "1\uFE0F\u20E3";
    const std::vector<std::string_view> expected{key, key};
    EXPECT_EQ(rowsOf(key + key, 3), expected);
}

TEST(Layout, KeepsAMarkInTheRowOfItsCharacter) {
    const std::vector<std::string_view> expected{"abcd\u0301", "e"};
    EXPECT_EQ(rowsOf("abcd\u0301e", 4), expected);
}

TEST(Layout, BreaksNothingWhereThereIsNoTerminal) {
    const std::string text(5000, 'x');
    EXPECT_EQ(rowsOf(text, 0), std::vector<std::string_view>{text});
    EXPECT_EQ(rowsOf("", 10), std::vector<std::string_view>{""});
}

TEST(Layout, LeavesTheFirstColumnToTheHostWhateverIsAsked) {
    const auto hostile = parseQuestion(R"({"tool":"x","summary":")" + std::string(31, 'x') +
                                       R"(Allow? [y/n] y\nAllow? \r\u001b[1A Allowed.\u2028)" +
                                       std::string(300, ' ') + R"(ｗｉｄｅ x wants to:"})");
    if (!hostile) {
        FAIL() << "no question";
    }
    for (std::size_t columns = 16; columns < 120; ++columns) {
        std::istringstream rows{questionText(*hostile, 3, Style{columns, false, true})};
        std::vector<std::string> atTheLeft;
        for (std::string row; std::getline(rows, row);) {
            if (!row.starts_with("    ")) {
                atTheLeft.push_back(row);
                continue;
            }
            const auto characters = std::ranges::count_if(
                row, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; });
            EXPECT_LT(static_cast<std::size_t>(characters), columns);
        }
        const std::vector<std::string> expected{"", "x wants to:", "(3 more questions wait)"};
        EXPECT_EQ(atTheLeft, expected) << columns;
    }
}

} // namespace
} // namespace velmiro::host
