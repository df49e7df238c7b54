#include "doctor/Words.hpp"

#include "support/ChildProcess.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmiro::doctor {
namespace {

/// The character that turns the text after it around.
const std::string turning = std::string{"\xe2\x80"} + '\xae';

/// Returns what a shell understands by a word.
std::string understood(const std::string& word) {
    support::ChildProcess shell{
        {.arguments = {"/bin/bash", "-c", "printf '%s\\0' " + word}, .environment = {}}};
    auto text = shell.readThrough({std::string_view{"\0", 1}});
    if (!text) {
        return "nothing";
    }
    text->pop_back();
    return *text;
}

TEST(Words, AShellUnderstandsEveryNameAsItIs) {
    std::vector<std::string> names{"a",
                                   "/home/ada/.calendars/work",
                                   "Application Support",
                                   "it's",
                                   "'",
                                   "''",
                                   "\"",
                                   "$HOME",
                                   "`id`",
                                   "$(id)",
                                   "a;b",
                                   "a&b|c",
                                   "*.ics",
                                   "[ab]?",
                                   "~",
                                   "!!",
                                   "#",
                                   "\\",
                                   "a\\'b",
                                   "Grüße",
                                   "日本",
                                   "a\nb",
                                   "a\tb",
                                   "\033[2J",
                                   "a\rb",
                                   "\x7f",
                                   "\xff\xfe",
                                   "a" + turning + "b",
                                   "a\xe2\x80\x8b", // has no width
                                   "a\xc2\xa0"};
    for (int byte = 1; byte < 256; ++byte) {
        names.push_back(std::string{"x"} + static_cast<char>(byte) + "7");
    }
    for (const std::string& name : names) {
        EXPECT_EQ(understood(shellWord(name)), name) << shellWord(name);
    }
    EXPECT_EQ(shellWord(""), "''");
}

TEST(Words, NothingThatIsPrintedMovesTheCursor) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string name = std::string{"a"} + static_cast<char>(byte) + "b";
        for (const std::string& text : {visible(name), shellWord(name)}) {
            for (const char character : text) {
                EXPECT_GE(static_cast<unsigned char>(character), 0x20U) << byte;
                EXPECT_NE(character, '\x7f') << byte;
            }
            // The controls of C1 take two bytes in UTF-8.
            EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos);
        }
    }
    EXPECT_EQ(visible("a\033[2J"), "a␛[2J");
    EXPECT_EQ(visible("a" + turning + "b"), "a\\u{202E}b");
    EXPECT_EQ(visible("\xc2\x9b"
                      "1"),
              "\\u{9B}1");
    EXPECT_EQ(visible(""), "(empty)");
    EXPECT_LT(visible(std::string(10'000, 'x')).size(), 300U);
}

TEST(Words, NumbersAgreeWithTheirNouns) {
    EXPECT_EQ(counted(0, "event"), "0 events");
    EXPECT_EQ(counted(1, "event"), "1 event");
    EXPECT_EQ(counted(999, "event"), "999 events");
    EXPECT_EQ(counted(1'000, "event"), "1,000 events");
    EXPECT_EQ(counted(12'345'678, "person", "people"), "12,345,678 people");
    EXPECT_EQ(counted(1, "person", "people"), "1 person");
}

TEST(Words, AReasonBeginsWithASmallLetterUnlessItIsAnAbbreviation) {
    EXPECT_EQ(reasonOf({EACCES, std::generic_category()}), "permission denied");
    EXPECT_EQ(reasonOf({EIO, std::generic_category()}), "input/output error");
}

} // namespace
} // namespace velmiro::doctor
