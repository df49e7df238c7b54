// Questions to the user, through the real server and a host that behaves correctly or not.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <latch>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace velmiro::test;
using namespace std::chrono_literals;

namespace {

const std::string denied =
    R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":"The user did not allow this )"
    R"((Dentist — 14 Oct 2026, 15:00). Do not retry unless the user asks.","type":"text"}],)"
    R"("isError":true}})";

class ApprovalThroughTheServer : public testing::Test {
protected:
    TemporaryFolder home;
    std::filesystem::path socket = home.path() / "approval.sock";

    void SetUp() override {
        std::filesystem::create_directories(calendarsIn(home) / "Home");
        home.write(calendarsIn(home) / "Home" / "displayname", "Home");
    }

    /// Checks that the answer of such a host is a no, that nothing changes, and that the server
    /// takes no harm.
    void isANo(const ScriptedHost::Serve& serve) {
        const auto before = snapshot(calendarsIn(home));
        {
            const ScriptedHost host{socket, serve};
            ChildProcess server{serverIn(home)};
            server.writeLine(creation(1));
            EXPECT_EQ(server.readLine(), denied);
            server.writeLine(ping(2));
            EXPECT_EQ(server.readLine(), pong(2));
        }
        std::filesystem::remove(socket);
        EXPECT_EQ(snapshot(calendarsIn(home)), before);
    }
};

} // namespace

TEST_F(ApprovalThroughTheServer, AYesCreatesExactlyOneFile) {
    const ScriptedHost host{socket, [](int connection) {
                                readQuestion(connection);
                                answerWith(connection, "{\"allow\":true}\n");
                            }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    const auto reply = server.readLine();
    ASSERT_TRUE(reply);
    EXPECT_NE(reply->find(R"(\"created\" : true)"), std::string::npos) << *reply;
    EXPECT_EQ(snapshot(calendarsIn(home)).size(), 3U); // the folder, its name, the event
}

TEST_F(ApprovalThroughTheServer, AQuestionStaysOpenWhileTheServerIsStoppedAndContinued) {
    std::latch asked{1};
    std::latch continued{1};
    const ScriptedHost host{socket, [&](int connection) {
                                readQuestion(connection);
                                asked.count_down();
                                continued.wait();
                                answerWith(connection, "{\"allow\":true}\n");
                            }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    asked.wait();
    std::this_thread::sleep_for(100ms); // until the server waits for the answer
    EXPECT_EQ(::kill(server.pid(), SIGSTOP), 0);
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(::kill(server.pid(), SIGCONT), 0);
    std::this_thread::sleep_for(100ms);
    continued.count_down();
    const auto reply = server.readLine();
    ASSERT_TRUE(reply);
    EXPECT_NE(reply->find(R"(\"created\" : true)"), std::string::npos) << *reply;
}

TEST_F(ApprovalThroughTheServer, ANoOfAnyKindChangesNothing) {
    isANo([](int connection) {
        readQuestion(connection);
        answerWith(connection, "{\"allow\":false}\n");
    });
    isANo([](int /*hangs up before the question*/) {});
    isANo([](int connection) { readQuestion(connection); });
    isANo([](int connection) {
        readQuestion(connection);
        answerWith(connection, "garbage\n");
    });
    isANo([](int connection) {
        readQuestion(connection);
        for (const char byte : std::string{"{\"allow\":false}\n"}) {
            answerWith(connection, {byte});
        }
    });
    isANo([](int connection) {
        readQuestion(connection);
        answerWith(connection, std::string(100'000, 'x'));
    });
}

TEST_F(ApprovalThroughTheServer, NoHostAtAllIsANo) {
    const auto before = snapshot(calendarsIn(home));
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    EXPECT_EQ(server.readLine(), denied);
    EXPECT_EQ(snapshot(calendarsIn(home)), before);
}

TEST_F(ApprovalThroughTheServer, AHostThatIsKilledWhileItAsksIsANo) {
    const auto before = snapshot(calendarsIn(home));
    const pid_t host = ::fork();
    if (host == 0) {
        const ScriptedHost scripted{socket, [](int connection) {
                                        readQuestion(connection);
                                        ::kill(::getpid(), SIGKILL);
                                    }};
        ::pause();
    }
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(socket); }));
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    EXPECT_EQ(server.readLine(), denied);
    ::waitpid(host, nullptr, 0);
    EXPECT_EQ(snapshot(calendarsIn(home)), before);
}

TEST_F(ApprovalThroughTheServer, ACallInFlightIsAnsweredAfterTheInputHasEnded) {
    const ScriptedHost host{socket, [](int connection) {
                                readQuestion(connection);
                                std::this_thread::sleep_for(100ms);
                                answerWith(connection, "{\"allow\":true}\n");
                            }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    server.closeInput();
    const auto reply = server.readLine();
    ASSERT_TRUE(reply);
    EXPECT_NE(reply->find("created"), std::string::npos);
    const auto status = server.waitForEnd();
    ASSERT_TRUE(status);
    EXPECT_EQ(*status, 0);
}

TEST_F(ApprovalThroughTheServer, RepliesLeaveInTheOrderInWhichTheyAreDone) {
    std::latch second{1};
    std::atomic<int> questions{0};
    const ScriptedHost host{socket, [&](int connection) {
                                const auto question = readQuestion(connection);
                                if (question.find("slow") != std::string::npos) {
                                    second.wait();
                                }
                                ++questions;
                                answerWith(connection, "{\"allow\":false}\n");
                            }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1, "slow"));
    server.writeLine(creation(2, "quick"));
    const auto first = server.readLine();
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->starts_with("{\"id\":2,")) << *first;
    second.count_down();
    const auto last = server.readLine();
    ASSERT_TRUE(last);
    EXPECT_TRUE(last->starts_with("{\"id\":1,")) << *last;
}

TEST_F(ApprovalThroughTheServer, AThousandQuestionsWaitAtOnceAndHoldUpNothing) {
    constexpr int count = 1000;
    std::latch release{1};
    const ScriptedHost host{socket, [&](int connection) {
                                readQuestion(connection);
                                release.wait();
                                answerWith(connection, "{\"allow\":false}\n");
                            }};
    ChildProcess server{serverIn(home)};
    server.writeLine(ping(0));
    EXPECT_EQ(server.readLine(), pong(0));
    const std::size_t idleDescriptors = server.descriptorCount();
    const std::size_t idleThreads = server.threadCount();
    for (int i = 1; i <= count; ++i) {
        server.writeLine(creation(i));
    }
    ASSERT_TRUE(eventually([&] { return host.accepted() == count; }));
    for (int i = 0; i < 100; ++i) {
        server.writeLine(ping(5000 + i));
        ASSERT_EQ(server.readLine(), pong(5000 + i));
    }
    server.writeLine(callLine(7000, "calendar_list_events", "{}"));
    const auto listed = server.readLine();
    ASSERT_TRUE(listed);
    EXPECT_TRUE(listed->starts_with("{\"id\":7000,")) << *listed;
    release.count_down();
    std::set<std::string> replies;
    for (int i = 0; i < count; ++i) {
        const auto reply = server.readLine();
        ASSERT_TRUE(reply) << i;
        EXPECT_NE(reply->find("did not allow"), std::string::npos);
        replies.insert(*reply);
    }
    EXPECT_EQ(replies.size(), static_cast<std::size_t>(count));
    // The first reading thread may have been relieved; it then waits until the server ends.
    EXPECT_TRUE(eventually([&] { return server.threadCount() <= idleThreads + 1; }));
    EXPECT_TRUE(eventually([&] { return server.descriptorCount() == idleDescriptors; }));
}

TEST_F(ApprovalThroughTheServer, ASummaryOfAMegabyteToAHostThatDoesNotReadHoldsUpNothing) {
    std::latch release{1};
    const ScriptedHost host{socket, [&](int) { release.wait(); }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1, std::string(1'000'000, 'x')));
    ASSERT_TRUE(eventually([&] { return host.accepted() == 1; }));
    server.writeLine(ping(2));
    EXPECT_EQ(server.readLine(), pong(2));
    release.count_down();
    const auto reply = server.readLine();
    ASSERT_TRUE(reply);
    EXPECT_NE(reply->find("did not allow"), std::string::npos);
}
