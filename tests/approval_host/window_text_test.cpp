#include "approval_host/screens/WindowText.hpp"

#include "approval_host/screens/WindowProgram.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace velmiro::host::test {
namespace {

using Kind = WindowProgram::Kind;
using Rows = std::vector<std::string>;

std::string joined(const Rows& rows) {
    std::string all;
    for (const std::string& row : rows) {
        all += (all.empty() ? "" : "\n") + row;
    }
    return all;
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

/// Returns the rows that kdialog shows for its argument: it undoes escapes, and reads HTML.
Rows shownByKDialog(std::string text) {
    replaceAll(text, R"(\\)", "\\");
    EXPECT_TRUE(text.starts_with("<qt>") && text.ends_with("</qt>")) << text;
    text = text.substr(4, text.size() - 9);
    constexpr std::string_view open = R"(<div align="left" style="white-space:pre">)";
    constexpr std::string_view close = "</div>";
    Rows rows;
    while (!text.empty()) {
        EXPECT_TRUE(text.starts_with(open)) << text;
        const std::size_t end = text.find(close);
        std::string row = text.substr(open.size(), end - open.size());
        EXPECT_EQ(row.find_first_of("<>"), std::string::npos) << row;
        replaceAll(row, "&lt;", "<");
        replaceAll(row, "&gt;", ">");
        replaceAll(row, "&amp;", "&");
        rows.push_back(row);
        text.erase(0, end + close.size());
    }
    return rows;
}

TEST(WindowText, ShowsWhoAsksForWhatAndHowManyWait) {
    EXPECT_EQ(windowRows({"notes_create", "Shopping list"}, 2),
              (Rows{"\u200Enotes_create wants to:", "\u200E", "\u200E│ Shopping list", "\u200E",
                    "\u200E(2 more questions wait)"}));
    EXPECT_EQ(windowRows({"notes_create", "x"}, 0).size(), 3U);
}

TEST(WindowText, BeginsEachRowOfASummaryWithABarAndKeepsItOnAScreen) {
    const std::string word(500, 'W');
    const auto rows = windowRows({"notes_create", "a b " + word + " end"}, 1);
    ASSERT_GT(rows.size(), 10U);
    std::string whole;
    for (std::size_t at = 2; at + 2 < rows.size(); ++at) {
        ASSERT_TRUE(rows[at].starts_with("\u200E│ ")) << rows[at];
        const std::string row = rows[at].substr(std::string_view{"\u200E│ "}.size());
        EXPECT_LE(row.size(), 56U);
        whole += row;
    }
    EXPECT_EQ(whole, "a b " + word + " end");
}

TEST(WindowText, LeavesOutTheMiddleOfWhatNeedsTooManyRows) {
    std::string numbers;
    for (int count = 0; count < 500; ++count) {
        numbers += "\\u{10FFFF}";
    }
    const auto rows = windowRows({std::string(700, 'n'), "begin " + numbers + " end"}, 1);
    EXPECT_LE(rows.size(), 23U);
    EXPECT_EQ(rows[0], "\u200E" + std::string(56, 'n'));
    EXPECT_TRUE(rows[2].ends_with("wants to:")) << rows[2];
    EXPECT_TRUE(rows[4].starts_with("\u200E│ begin "));
    EXPECT_EQ(rows[15], "\u200E(76 more rows)");
    EXPECT_TRUE(rows[19].ends_with(" end")) << rows[19];
}

TEST(WindowText, ShowsNothingButTheRowsInAnyProgram) {
    const std::string_view alphabet[] = {
        "<",  ">", "&", "\\", "\\n", "&lt;", "</div>",  "</qt>", "<b>", "<br>", "\"",
        "%s", "_", "-", " ",  "  ",  "é",    "العربية", "$(x)",  "'",   "│ "};
    std::mt19937 random{7};
    for (int round = 0; round < 2000; ++round) {
        std::string summary;
        for (auto count = random() % 40; count > 0; --count) {
            summary += alphabet[random() % std::size(alphabet)];
        }
        const Question question{"notes_create", summary};
        const auto waiting = static_cast<std::size_t>(round % 3);
        const auto rows = windowRows(question, waiting);
        EXPECT_EQ(shownByKDialog(windowCommand({Kind::kdialog, "k"}, question, waiting)[4]), rows);
        EXPECT_EQ(windowCommand({Kind::zenity, "z"}, question, waiting).back(),
                  "--text=" + joined(rows));
        EXPECT_EQ(windowCommand({Kind::osascript, "o"}, question, waiting)[3], joined(rows));
    }
}

TEST(WindowProgram, TellsZenityToReadNoMarkupAndToBeginWithNo) {
    EXPECT_EQ(windowCommand({Kind::zenity, "/usr/bin/zenity"}, {"t", "s"}, 0),
              (Rows{"/usr/bin/zenity", "--question", "--no-markup", "--no-wrap", "--default-cancel",
                    "--title=Allow this change?", "--ok-label=Allow", "--cancel-label=Refuse",
                    "--text=\u200Et wants to:\n\u200E\n\u200E│ s"}));
}

TEST(WindowProgram, GivesTheSystemsDialogItsTextAsAnArgument) {
    const auto command = windowCommand({Kind::osascript, "/usr/bin/osascript"}, {"-e", "-e"}, 0);
    ASSERT_EQ(command.size(), 5U);
    EXPECT_NE(command[2].find(R"(default button "Refuse" cancel button "Refuse")"),
              std::string::npos);
    EXPECT_EQ(command[3], "\u200E-e wants to:\n\u200E\n\u200E│ -e") << "no option";
}

TEST(WindowProgram, TakesOnlyTheRightWordForConsent) {
    for (const Kind kind : {Kind::kdialog, Kind::osascript}) {
        EXPECT_TRUE(isConsent(kind, "allow\n"));
        for (const std::string_view printed :
             {"", "\n", "allow", "refuse\n", "allow\nrefuse\n", " allow\n", "Allow\n"}) {
            EXPECT_FALSE(isConsent(kind, printed)) << printed;
        }
    }
}

} // namespace
} // namespace velmiro::host::test
