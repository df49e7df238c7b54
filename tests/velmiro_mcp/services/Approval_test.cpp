#include "velmiro_mcp/services/Approval.hpp"

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "support/Eventually.hpp"
#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace velmiro;
using namespace velmiro::support;
using namespace velmiro::test;
using MCPStdio::syncWait;
using namespace std::chrono_literals;

namespace {

class ApprovalTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path path = folder.path() / "host.sock";
    ScopedVariable variable{"VELMIRO_APPROVAL_SOCKET", path.c_str()};
    Approval approval{2s};

    bool ask() { return syncWait(approval.ask("notes_create", "Shopping list")); }

    /// Returns the answer to a host that reads the question, writes this and hangs up.
    bool answerTo(const std::string& reply) {
        const ScriptedHost host{path, [&](int connection) {
                                    readQuestion(connection);
                                    answerWith(connection, reply);
                                }};
        const bool answer = ask();
        std::filesystem::remove(path);
        return answer;
    }
};

} // namespace

TEST_F(ApprovalTest, OnlyAnExplicitYesIsAYes) {
    EXPECT_TRUE(answerTo("{\"allow\":true}\n"));
    EXPECT_TRUE(answerTo(" { \"allow\" : true , \"more\" : 1 } \r\n"));
    for (const char* reply :
         {"{\"allow\":false}\n", "{\"allow\":1}\n", "{\"allow\":\"true\"}\n", "{\"allow\":null}\n",
          "{}\n", "[true]\n", "true\n", "\n", "yes\n", "{\"allow\":true\n", "{\"Allow\":true}\n",
          "{\"allow\":true}{}\n", "{\"allow\":true,\"allow\":false}\n", "\xFF\n"}) {
        EXPECT_FALSE(answerTo(reply)) << reply;
    }
}

TEST_F(ApprovalTest, AYesToAQuestionThatWasNotReadWholeIsNone) {
    const std::string muchLongerThanASocketHolds(std::size_t{16} << 20U, 'x');
    for (const bool readsABeginning : {false, true}) {
        const ScriptedHost host{path, [&](int connection) {
                                    std::array<char, 1> byte{};
                                    const int how = readsABeginning ? 0 : MSG_DONTWAIT;
                                    static_cast<void>(::recv(connection, byte.data(), 1, how));
                                    answerWith(connection, "{\"allow\":true}\n");
                                    ::shutdown(connection, SHUT_RD);
                                    std::this_thread::sleep_for(100ms);
                                }};
        EXPECT_FALSE(syncWait(approval.ask("notes_create", muchLongerThanASocketHolds)));
        std::filesystem::remove(path);
    }
}

TEST_F(ApprovalTest, AReplyWithoutItsLineFeedIsANo) {
    EXPECT_FALSE(answerTo("{\"allow\":true}"));
}

TEST_F(ApprovalTest, OnlyTheFirstLineCounts) {
    EXPECT_TRUE(answerTo("{\"allow\":true}\n{\"allow\":false}\ngarbage"));
    EXPECT_FALSE(answerTo("\n{\"allow\":true}\n"));
}

TEST_F(ApprovalTest, AReplyMayComeInPieces) {
    const ScriptedHost host{path, [](int connection) {
                                readQuestion(connection);
                                for (const char* piece : {"{\"al", "low\":", "true", "}", "\n"}) {
                                    answerWith(connection, piece);
                                    std::this_thread::sleep_for(5ms);
                                }
                            }};
    EXPECT_TRUE(ask());
}

TEST_F(ApprovalTest, ALongReplyIsReadToItsEnd) {
    EXPECT_TRUE(answerTo("{\"more\":\"" + std::string(10'000, 'x') + "\",\"allow\":true}\n"));
}

TEST_F(ApprovalTest, TheQuestionIsOneLineWithSortedMembers) {
    std::string question;
    {
        const ScriptedHost host{path, [&](int connection) {
                                    question = readQuestion(connection);
                                    answerWith(connection, "{\"allow\":true}\n");
                                }};
        EXPECT_TRUE(syncWait(approval.ask("notes_create", "Line\none — \"é\"/")));
    }
    EXPECT_EQ(question, R"({"summary":"Line\none — \"é\"/","tool":"notes_create"})");
}

TEST_F(ApprovalTest, NobodyListeningIsANo) {
    EXPECT_FALSE(ask());
    {
        const ScriptedHost gone{path, [](int) {}};
    }
    EXPECT_TRUE(std::filesystem::exists(path)); // a stale socket
    EXPECT_FALSE(ask());
}

TEST_F(ApprovalTest, AHostThatHangsUpBeforeOrAfterTheQuestionIsANo) {
    {
        const ScriptedHost host{path, [](int) {}};
        EXPECT_FALSE(ask());
        std::filesystem::remove(path);
    }
    EXPECT_FALSE(answerTo(""));
}

TEST_F(ApprovalTest, SilenceIsANoAfterTheLimitWhichEachByteRestarts) {
    const Approval impatient{1s};
    std::atomic<bool> answered{false};
    std::atomic<bool> answeredBeforeHangUp{false};
    {
        const ScriptedHost host{path, [&](int connection) {
                                    readQuestion(connection);
                                    for (int i = 0; i < 4; ++i) {
                                        std::this_thread::sleep_for(500ms);
                                        answerWith(connection, " ");
                                    }
                                    answeredBeforeHangUp =
                                        eventually([&] { return answered.load(); });
                                }};
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(syncWait(impatient.ask("t", "s")));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 2500ms); // the limit alone is 1 s
        answered = true;
    }
    EXPECT_TRUE(answeredBeforeHangUp);
}

TEST_F(ApprovalTest, AHostThatDripsItsAnswerIsWaitedFor) {
    const Approval impatient{1s};
    const ScriptedHost host{path, [](int connection) {
                                readQuestion(connection);
                                for (const char piece : std::string{"{\"allow\":true}\n"}) {
                                    std::this_thread::sleep_for(100ms);
                                    answerWith(connection, {piece});
                                }
                            }};
    EXPECT_TRUE(syncWait(impatient.ask("t", "s"))); // after 1.5 s
}

TEST_F(ApprovalTest, AHostThatAcceptsNobodyIsANoAfterTheLimit) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    const auto* const name = reinterpret_cast<const sockaddr*>(&address);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    ASSERT_EQ(::bind(listener, name, sizeof address), 0);
    ASSERT_EQ(::listen(listener, 0), 0);
    const int first = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(first, 0);
    ASSERT_EQ(::connect(first, name, sizeof address), 0); // now its queue is full
    EXPECT_FALSE(syncWait(Approval{1s}.ask("t", "s")));
    ::close(first);
    ::close(listener);
}

TEST_F(ApprovalTest, ASummaryOfAMegabyteReachesAHostThatReadsLate) {
    const ScriptedHost host{path, [](int connection) {
                                std::this_thread::sleep_for(50ms);
                                const auto size = readQuestion(connection).size();
                                answerWith(connection, size > 1'000'000 ? "{\"allow\":true}\n"
                                                                        : "{\"allow\":false}\n");
                            }};
    EXPECT_TRUE(syncWait(approval.ask("t", std::string(1'000'000, 'x'))));
}

TEST_F(ApprovalTest, AHostThatHangsUpBeforeReadingAMegabyteIsANo) {
    const ScriptedHost host{path, [](int) { std::this_thread::sleep_for(50ms); }};
    EXPECT_FALSE(syncWait(approval.ask("t", std::string(1'000'000, 'x'))));
}

TEST_F(ApprovalTest, APathOfAHundredAndThreeBytesIsUsedAndOneMoreIsANoWithoutAConnection) {
    const auto pathOf = [&](std::size_t length) {
        const std::string text = folder.path().string() + "/";
        return text + std::string(length - text.size(), 's');
    };
    for (const auto& [length, expected] : {std::pair{103U, true}, std::pair{104U, false}}) {
        const std::string text = pathOf(length);
        const ScopedVariable longer{"VELMIRO_APPROVAL_SOCKET", text.c_str()};
        const ScriptedHost host{text, [](int connection) {
                                    readQuestion(connection);
                                    answerWith(connection, "{\"allow\":true}\n");
                                }};
        EXPECT_EQ(ask(), expected) << length;
        EXPECT_EQ(host.accepted(), expected ? 1U : 0U);
    }
}

TEST_F(ApprovalTest, ManyQuestionsWaitAtTheSameTimeOnConnectionsOfTheirOwn) {
    constexpr std::size_t count = 100;
    std::atomic<std::size_t> waiting{0};
    const ScriptedHost host{path, [&](int connection) {
                                readQuestion(connection);
                                ++waiting;
                                eventually([&] { return waiting == count; });
                                answerWith(connection, "{\"allow\":true}\n");
                            }};
    const Approval patient;
    std::vector<std::thread> askers;
    std::atomic<std::size_t> allowed{0};
    for (std::size_t i = 0; i < count; ++i) {
        askers.emplace_back([&] { allowed += syncWait(patient.ask("t", "s")) ? 1U : 0U; });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    EXPECT_EQ(allowed, count);
    EXPECT_EQ(host.accepted(), count);
}

TEST(ApprovalSocketPath, IsTheVariableVerbatimOrTheDefault) {
    const ScopedVariable home{"HOME", "/home/anna"};
    {
        const ScopedVariable named{"VELMIRO_APPROVAL_SOCKET", " ~/x "};
        EXPECT_EQ(approvalSocketPath(), " ~/x ");
    }
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        const ScopedVariable unnamed{"VELMIRO_APPROVAL_SOCKET", value};
        EXPECT_EQ(approvalSocketPath(),
                  "/home/anna/Library/Application Support/Velmiro/approval.sock");
    }
}

TEST(Denial, NamesWhatWasAskedAndTellsNotToRetry) {
    EXPECT_EQ(denial("Dentist"),
              MCPStdio::MCPToolResult::error(
                  "The user did not allow this (Dentist). Do not retry unless the user asks."));
}
