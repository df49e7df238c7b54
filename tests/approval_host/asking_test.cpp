#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

namespace velmiro::host::test {
namespace {

constexpr std::string_view prompt = "Allow? [y/n] ";

/// A host that asks over pipes and is listening.
class Asking : public testing::Test {
protected:
    Asking() : host{{.arguments = {"--socket", path}}} { host.waitFor("listening at " + path); }

    /// Returns when the host has received everything that was sent before.
    void waitUntilReceived() const {
        Asker probe{path};
        probe.send("nonsense\n");
        EXPECT_EQ(probe.reply(), no);
    }

    const TemporaryFolder folder;
    const std::string path = folder / "s";
    HostProcess host;
};

TEST_F(Asking, ShowsTheQuestionAndSendsTheAnswer) {
    Asker asker{path};
    asker.ask("calendar_create_event", "Dentist — 14 Oct 2026, 15:00");
    EXPECT_EQ(host.waitFor(prompt), "\n\ncalendar_create_event wants to:\n"
                                    "    Dentist — 14 Oct 2026, 15:00\n"
                                    "Allow? [y/n] ");
    EXPECT_FALSE(asker.isAnswered());
    host.type("y\n");
    EXPECT_EQ(asker.reply(), yes);
    host.waitFor("Allowed.\n");
    Asker other{path};
    other.ask("notes_create", "Shopping list");
    host.waitFor(prompt);
    host.type("NO\n");
    EXPECT_EQ(other.reply(), no);
    host.waitFor("Refused.\n");
}

TEST_F(Asking, AsksAgainUntilTheAnswerIsClear) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    host.waitFor(prompt);
    for (const std::string_view typed : {"maybe\n", "\n", "yy\n", "\033[A\n"}) {
        host.type(typed);
        host.waitFor("Please type y or n. Allow? [y/n] ");
        EXPECT_FALSE(asker.isAnswered());
    }
    host.type("Yes\n");
    EXPECT_EQ(asker.reply(), yes);
}

TEST_F(Asking, TakesAQuestionThatComesByteByByte) {
    Asker asker{path};
    for (const char byte : std::string_view{R"({"summary":"Grüße","tool":"notes_create"})"
                                            "\n"}) {
        asker.send({&byte, 1});
    }
    EXPECT_NE(host.waitFor(prompt).find("    Grüße\n"), std::string::npos);
    host.type("y\n");
    EXPECT_EQ(asker.reply(), yes);
}

TEST_F(Asking, RefusesGarbageWithoutAskingAnyone) {
    for (const std::string_view line :
         {"\n", "hello\n", "[]\n", "{\"tool\":\"t\"}\n", "{\"summary\":1,\"tool\":\"t\"}\n",
          "\xFF\xFE\n", "{\"summary\":\"s\",\"tool\":\"t\"\n", "\x16\x03\x01\n"}) {
        Asker asker{path};
        asker.send(line);
        EXPECT_EQ(asker.reply(), no) << line;
    }
    Asker deep{path};
    deep.send(std::string(100'000, '[') + '\n');
    EXPECT_EQ(deep.reply(), no);
    EXPECT_EQ(host.printedWithin(0), "\n");
}

TEST_F(Asking, RefusesALineThatDoesNotEnd) {
    Asker asker{path};
    asker.send(std::string((std::size_t{4} << 20U) + 1, 'x'));
    EXPECT_EQ(asker.reply(), no);
}

TEST_F(Asking, ShowsALongQuestionBounded) {
    Asker asker{path};
    asker.ask("notes_create", "begin" + std::string(1'000'000, 'x') + "end");
    const std::string shown = host.waitFor(prompt);
    EXPECT_LT(shown.size(), 700U);
    EXPECT_NE(shown.find("    beginx"), std::string::npos);
    EXPECT_NE(shown.find("xend\n"), std::string::npos);
    EXPECT_NE(shown.find(" … (999,508 more characters) … "), std::string::npos);
}

TEST_F(Asking, LetsASummaryFakeNoLineOfItsOwn) {
    Asker asker{path};
    asker.ask("a\nAllowed.",
              "x\n\nAllow? [y/n] y\nAllowed.\r\n\u2028notes_create wants to:\033[2J");
    EXPECT_EQ(host.waitFor(prompt), "\n\na\\u{A}Allowed. wants to:\n"
                                    "    x␊␊Allow? [y/n] ");
    EXPECT_EQ(host.waitFor(prompt), "y␊Allowed.␍␊\\u{2028}notes_create wants to:␛[2J\n"
                                    "Allow? [y/n] ");
}

TEST_F(Asking, WithdrawsTheQuestionOnTheScreenWhenItsAskerHangsUp) {
    Asker gone{path};
    gone.ask("notes_create", "first");
    host.waitFor(prompt);
    Asker next{path};
    next.ask("notes_create", "second");
    waitUntilReceived();
    const auto before = std::chrono::steady_clock::now();
    gone.hangUp();
    host.waitFor("\nWithdrawn: whoever asked is gone.\n");
    EXPECT_NE(host.waitFor(prompt).find("    second\n"), std::string::npos);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds{1});
    host.type("y\n");
    EXPECT_EQ(next.reply(), yes);
}

TEST_F(Asking, NeverGivesAnAnswerToTheNextQuestionThatWasBegunForAWithdrawnOne) {
    Asker gone{path};
    gone.ask("notes_create", "first");
    host.waitFor(prompt);
    Asker next{path};
    next.ask("notes_create", "second");
    host.type("y");
    waitUntilReceived();
    gone.hangUp();
    host.waitFor("    second\n");
    host.waitFor(prompt);
    host.type("\n");
    host.waitFor("Please type y or n.");
    EXPECT_FALSE(next.isAnswered());
}

TEST_F(Asking, NeverGivesAnAnswerToTheNextQuestionThatCameAfterTheHangUp) {
    Asker gone{path};
    gone.ask("notes_create", "first");
    host.waitFor(prompt);
    Asker next{path};
    next.ask("notes_create", "second");
    waitUntilReceived();
    host.hold(); // so that it sees both at the same time
    gone.hangUp();
    host.type("y\n");
    host.signal(SIGCONT);
    host.waitFor("Withdrawn");
    host.waitFor("    second\n");
    host.waitFor(prompt);
    host.type("n\n");
    EXPECT_EQ(next.reply(), no);
}

TEST_F(Asking, DropsWhatWasTypedBeforeTheQuestionWasShown) {
    host.type("y\ny\ny");
    Asker first{path};
    first.ask("notes_create", "first");
    Asker second{path};
    second.ask("notes_create", "second");
    waitUntilReceived();
    host.waitFor(prompt);
    std::string ahead = "n\n";
    for (int count = 0; count < 4000; ++count) {
        ahead += "y\n"; // more than one read returns
    }
    host.type(ahead);
    EXPECT_EQ(first.reply(), no);
    host.waitFor("    second\n");
    host.waitFor(prompt);
    EXPECT_FALSE(second.isAnswered());
    host.type("n\n");
    EXPECT_EQ(second.reply(), no);
}

TEST_F(Asking, ForgetsAWaitingQuestionSilentlyWhenItsAskerHangsUp) {
    Asker first{path};
    first.ask("notes_create", "first");
    host.waitFor(prompt);
    Asker gone{path};
    gone.ask("notes_create", "gone");
    Asker third{path};
    third.ask("notes_create", "third");
    waitUntilReceived();
    gone.hangUp();
    host.type("y\n");
    EXPECT_EQ(first.reply(), yes);
    EXPECT_EQ(host.waitFor(prompt), "\nAllowed.\n\nnotes_create wants to:\n    third\n"
                                    "Allow? [y/n] ");
}

TEST_F(Asking, NeverShowsAQuestionWhoseAskerIsGoneAlready) {
    host.hold(); // so that it sees question and hang-up at the same time
    Asker gone{path};
    gone.ask("notes_create", "gone");
    gone.hangUp();
    Asker next{path};
    next.ask("notes_create", "next");
    host.signal(SIGCONT);
    EXPECT_EQ(host.waitFor(prompt), "\n\nnotes_create wants to:\n    next\nAllow? [y/n] ");
}

TEST_F(Asking, RefusesEverythingAndEndsWithItsInput) {
    Asker shown{path};
    shown.ask("notes_create", "first");
    host.waitFor(prompt);
    Asker waiting{path};
    waiting.ask("notes_create", "second");
    waitUntilReceived();
    host.endInput();
    host.waitFor("\nRefused: this host ends.\n");
    EXPECT_EQ(shown.reply(), no);
    EXPECT_EQ(waiting.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(Asking, RefusesAndEndsWhenNobodyCanReadTheQuestions) {
    host.closeOutput();
    Asker asker{path};
    asker.ask("notes_create", "first");
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
}

TEST(Host, EndsAtOnceWhenItHasNoInputToReadAnswersFrom) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}, .input = Stdin::closed}};
    host.waitFor("listening at ");
    EXPECT_EQ(host.waitForExit(), 0);
}

} // namespace
} // namespace velmiro::host::test
