// Completing a recurring reminder while the system fails: the series is never lost, and the agent
// reads the truth. That whichever call fails is tested with every other tool, in tests/faults.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/Answer.hpp"
#include "tests/support/FailingCalls.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>

using namespace velmiro::test;
namespace fs = std::filesystem;

namespace {

const std::string weekly = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:VTODO\r\n"
                           "UID:water\r\nDTSTAMP:20260901T080000Z\r\nDUE:20261014T080000Z\r\n"
                           "RRULE:FREQ=WEEKLY\r\nSUMMARY:Water\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";

/// The content of the list's folder.
struct Contents {
    std::string original; ///< the file of the completed reminder; empty if it is gone
    int others = 0;       ///< other visible files, each the next occurrence of the series
    int hidden = 0;

    [[nodiscard]] bool isCompleted() const {
        return original.find("STATUS:COMPLETED") != std::string::npos &&
               original.find("RRULE") == std::string::npos;
    }
};

class CompletionFaults : public testing::Test {
protected:
    TemporaryFolder home;
    FailingCalls calls{FAILING_CALLS};
    fs::path list = home.path() / "Library/Application Support/Velmiro/Reminders/Home";
    ScriptedHost host{home.path() / "approval.sock", [](int connection) {
                          readQuestion(connection);
                          answerWith(connection, "{\"allow\":true}\n");
                      }};

    /// Allows every question, except one about an event, which waits until the asker hangs up.
    static void keepWaiting(int connection) {
        const bool isEvent = readQuestion(connection).find("calendar") != std::string::npos;
        answerWith(connection, isEvent ? "" : "{\"allow\":true}\n");
        if (isEvent) {
            readQuestion(connection);
        }
    }

    [[nodiscard]] Answer complete(const Failures& failures) {
        fs::remove_all(list);
        home.write(list / "water.ics", weekly);
        calls.arm(failures);
        auto options = serverIn(home);
        options.environment.merge(calls.environment());
        ChildProcess server{options};
        server.writeLine(callLine(1, "reminders_complete", R"({"id":"water"})"));
        return answerIn(server.readLine());
    }

    [[nodiscard]] Contents contents() const {
        Contents found;
        for (const auto& entry : fs::directory_iterator{list}) {
            const std::string name = entry.path().filename().string();
            if (name == "water.ics") {
                found.original = readFile(entry.path());
            } else if (name.starts_with('.')) {
                ++found.hidden;
            } else {
                ++found.others;
                EXPECT_NE(readFile(entry.path()).find("RRULE:FREQ=WEEKLY"), std::string::npos);
            }
        }
        return found;
    }

    /// Checks what must hold whichever call failed.
    void expectTruth(const Answer& answer) const {
        const Contents found = contents();
        if (!answer.isError) {
            EXPECT_TRUE(found.isCompleted()) << found.original;
            EXPECT_EQ(found.others, 1);
            return;
        }
        EXPECT_EQ(answer.text.find("no reminder with id"), std::string::npos) << answer.text;
        if (answer.text.find("cannot be told") != std::string::npos) {
            EXPECT_TRUE(found.original == weekly || found.isCompleted()) << found.original;
            EXPECT_EQ(found.others, 1) << "the series may be there twice, never not at all";
        } else {
            EXPECT_EQ(found.original, weekly) << answer.text;
            EXPECT_EQ(found.others, 0) << answer.text;
        }
    }
};

} // namespace

TEST_F(CompletionFaults, WhereNamesCannotBeExchangedAFailedFlushKeepsTheNextOne) {
    for (const int refusal : {EINVAL, ENOSYS, EOPNOTSUPP}) {
        EXPECT_FALSE(complete({.exchangeError = refusal}).isError);
        expectTruth({});
        for (const Call call : {Call::open, Call::read, Call::stat, Call::flush, Call::unlink}) {
            for (int count = 1; count <= 3; ++count) {
                SCOPED_TRACE("call " + std::to_string(static_cast<std::uint32_t>(call)) + ", " +
                             std::to_string(count) + " times");
                expectTruth(complete({.calls = static_cast<std::uint32_t>(call),
                                      .count = count,
                                      .afterChange = true,
                                      .exchangeError = refusal}));
            }
        }
    }
    const Answer unflushed = complete({.calls = static_cast<std::uint32_t>(Call::flush),
                                       .afterChange = true,
                                       .exchangeError = EINVAL});
    EXPECT_EQ(unflushed.text,
              "the list ‘Home’ cannot be written: Input/output error. Whether the reminder is "
              "completed now cannot be told: look before trying again; the next one of its series "
              "was added");
    EXPECT_TRUE(contents().isCompleted());
}

TEST_F(CompletionFaults, AStateThatCannotBeToldKeepsBothFilesAndNamesTheOther) {
    const Answer answer = complete(
        {.calls = static_cast<std::uint32_t>(Call::stat), .count = 100, .afterChange = true});
    const Contents found = contents();
    EXPECT_EQ(found.original, weekly);
    EXPECT_EQ(found.hidden, 1);
    const auto name = answer.text.find(".velmiro-aside-");
    ASSERT_NE(name, std::string::npos) << answer.text;
    const std::string other = readFile(list / answer.text.substr(name));
    EXPECT_NE(other.find("STATUS:COMPLETED"), std::string::npos) << other;
}

TEST_F(CompletionFaults, DescriptorsUsedUpByWaitingQuestionsNeverEndASeries) {
    constexpr int limit = 64;
    const fs::path socket = home.path() / "waiting.sock";
    int errors = 0;
    int successes = 0;
    for (int waiting = limit - 24; waiting <= limit - 3; ++waiting) {
        SCOPED_TRACE(std::to_string(waiting) + " questions wait");
        fs::remove_all(list);
        home.write(list / "water.ics", weekly);
        const ScriptedHost keeping{socket, keepWaiting};
        auto options = serverIn(home);
        options.arguments = {"/usr/bin/prlimit", "--nofile=" + std::to_string(limit),
                             SERVER_BINARY};
        options.environment["VELMIRO_APPROVAL_SOCKET"] = socket;
        ChildProcess server{options};
        for (int id = 1; id <= waiting; ++id) {
            server.writeLine(creation(id));
        }
        // Questions for which there is no descriptor left are answered immediately.
        std::size_t answered = 0;
        while (!eventually(
            [&] { return keeping.accepted() + answered >= static_cast<std::size_t>(waiting); },
            std::chrono::seconds{1})) {
            ASSERT_TRUE(server.readLine());
            ++answered;
        }
        server.writeLine(callLine(9000, "reminders_complete", R"({"id":"water"})"));
        const Answer answer = answerIn(server.readLine());
        expectTruth(answer);
        (answer.isError ? errors : successes) += 1;
        fs::remove(socket);
    }
    EXPECT_GT(errors, 0);
    EXPECT_GT(successes, 0);
}

TEST_F(CompletionFaults, WhatChangesWhileTheUserIsAskedIsSeenAfterTheYes) {
    const std::string several = "more than one reminder has this id";
    const auto completeWhile = [&](const std::function<void()>& meanwhile) {
        fs::remove_all(list.parent_path());
        home.write(list / "water.ics", weekly);
        const fs::path socket = home.path() / "meanwhile.sock";
        const ScriptedHost asking{socket, [&](int connection) {
                                      readQuestion(connection);
                                      meanwhile();
                                      answerWith(connection, "{\"allow\":true}\n");
                                  }};
        auto options = serverIn(home);
        options.environment["VELMIRO_APPROVAL_SOCKET"] = socket;
        ChildProcess server{options};
        server.writeLine(callLine(1, "reminders_complete", R"({"id":"water"})"));
        const Answer answer = answerIn(server.readLine());
        fs::remove(socket);
        return answer.text;
    };
    EXPECT_EQ(completeWhile([&] { home.write(list / "copy.ics", weekly); }), several);
    EXPECT_EQ(readFile(list / "water.ics"), weekly);
    EXPECT_EQ(readFile(list / "copy.ics"), weekly);

    const fs::path moved = list.parent_path() / "Work/water.ics";
    EXPECT_EQ(completeWhile([&] {
                  fs::create_directory(moved.parent_path());
                  fs::rename(list / "water.ics", moved);
              }),
              several);
    EXPECT_EQ(readFile(moved), weekly);

    EXPECT_EQ(completeWhile([&] { fs::remove(list / "water.ics"); }), "no reminder with id water");

    // The identifier decides, whatever else is edited.
    std::string renamed = weekly;
    renamed.replace(renamed.find("Water"), 5, "Plants");
    EXPECT_EQ(completeWhile([&] { home.write(list / "water.ics", renamed); }),
              "{\n  \"completed\" : true\n}");
    EXPECT_TRUE(contents().isCompleted());
}
