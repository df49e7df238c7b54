#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>

namespace velmiro::host::test {
namespace {

/// A listening host at a terminal of 40 columns that cannot show bold.
class AtTerminal : public testing::Test {
protected:
    AtTerminal()
        : host{{.arguments = {"--socket", path},
                .input = Stdin::terminal,
                .columns = 40,
                .environment = {{"TERM", "dumb"}}}} {
        host.waitFor("listening at " + path + "\r\n");
    }

    const TemporaryFolder folder;
    const std::string path = folder / "s";
    HostProcess host;
};

TEST_F(AtTerminal, AsksAndAnswers) {
    Asker asker{path};
    asker.ask("calendar_create_event", "Dentist — 14 Oct 2026, 15:00");
    EXPECT_EQ(host.waitFor("[y/n] "), "\r\ncalendar_create_event wants to:\r\n"
                                      "    Dentist — 14 Oct 2026, 15:00\r\n"
                                      "Allow? [y/n] ");
    host.type("y\r");
    EXPECT_EQ(asker.reply(), yes);
    EXPECT_EQ(host.waitFor("Allowed.\r\n"), "y\r\nAllowed.\r\n");
}

TEST_F(AtTerminal, BreaksRowsItselfSoThatNoSummaryReachesTheFirstColumn) {
    Asker asker{path};
    asker.ask("x", std::string(36, 'x') + "Allow? [y/n] y" + std::string(66, ' ') +
                       "notes_create wants to: ｗｉｄｅ ｗｉｄｅ ｗｉｄｅ ｗｉｄｅ ｗｉｄｅ");
    host.waitFor("x wants to:\r\n");
    std::string shown = host.waitFor("\r\nAllow? [y/n] ");
    ASSERT_TRUE(shown.ends_with("\r\nAllow? [y/n] "));
    shown.resize(shown.size() - std::string_view{"\r\nAllow? [y/n] "}.size());
    std::istringstream rows{shown};
    int count = 0;
    for (std::string row; std::getline(rows, row); ++count) {
        EXPECT_TRUE(row.starts_with("    ")) << row;
        const auto wide = row.find("ｗ") != std::string::npos;
        EXPECT_LE(row.size(), wide ? 60U : 40U) << row;
    }
    EXPECT_GE(count, 5);
}

TEST_F(AtTerminal, DropsALineThatWasBegunForAWithdrawnQuestion) {
    Asker gone{path};
    gone.ask("notes_create", "first");
    host.waitFor("[y/n] ");
    Asker next{path};
    next.ask("notes_create", "second");
    host.type("y");
    host.waitFor("y"); // the terminal has received it
    gone.hangUp();
    host.waitFor("Withdrawn: whoever asked is gone.\r\n");
    host.waitFor("    second\r\n");
    host.waitFor("[y/n] ");
    host.type("\r");
    host.waitFor("Please type y or n.");
    EXPECT_FALSE(next.isAnswered());
    host.type("n\r");
    EXPECT_EQ(next.reply(), no);
}

TEST_F(AtTerminal, DropsLinesThatWereTypedAhead) {
    Asker first{path};
    first.ask("notes_create", "first");
    Asker second{path};
    second.ask("notes_create", "second");
    host.waitFor("[y/n] ");
    host.type("n\ry\ry\r");
    EXPECT_EQ(first.reply(), no);
    host.waitFor("    second\r\n");
    host.waitFor("[y/n] ");
    EXPECT_FALSE(second.isAnswered());
    host.type("n\r");
    EXPECT_EQ(second.reply(), no);
}

TEST_F(AtTerminal, RefusesAndEndsOnEndOfInput) {
    Asker asker{path};
    asker.ask("notes_create", "first");
    host.waitFor("[y/n] ");
    host.type("\x04"); // what the end-of-input key sends
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(AtTerminal, RefusesAndEndsOnTheInterruptKey) {
    Asker asker{path};
    asker.ask("notes_create", "first");
    host.waitFor("[y/n] ");
    host.type("\x03");
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(AtTerminal, RefusesAndEndsWhenTheTerminalIsClosed) {
    Asker asker{path};
    asker.ask("notes_create", "first");
    host.waitFor("[y/n] ");
    host.endInput();
    host.closeOutput();
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Terminal, ShowsTheToolAndThePromptInBold) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"},
                      .input = Stdin::terminal,
                      .environment = {{"TERM", "xterm"}}}};
    host.waitFor("listening at ");
    Asker asker{folder / "s"};
    asker.ask("notes_create", "first");
    host.waitFor("\033[1mnotes_create wants to:\033[0m\r\n    first\r\n"
                 "\033[1mAllow? [y/n]\033[0m ");
}

} // namespace
} // namespace velmiro::host::test
