// The one test that waits the full 120 seconds, to show the limit of the real program once, and
// that a yes which comes later changes nothing.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <gtest/gtest.h>
#include <latch>

using namespace velmiro::test;
using namespace std::chrono_literals;

TEST(Silence, OfAHundredAndTwentySecondsIsANo) {
    const TemporaryFolder home;
    std::latch release{1};
    const ScriptedHost host{home.path() / "approval.sock", [&](int connection) {
                                readQuestion(connection);
                                release.wait();
                                answerWith(connection, "{\"allow\":true}\n");
                            }};
    ChildProcess server{serverIn(home)};
    const auto begin = std::chrono::steady_clock::now();
    server.writeLine(creation(1));
    const auto reply = server.readLine(150s);
    const auto waited = std::chrono::steady_clock::now() - begin;
    release.count_down();
    ASSERT_TRUE(reply);
    EXPECT_NE(reply->find("did not allow"), std::string::npos);
    EXPECT_GE(waited, 119s);
    server.writeLine(ping(2));
    EXPECT_EQ(server.readLine(), pong(2));
    server.closeInput();
    EXPECT_TRUE(server.waitForEnd());
    EXPECT_FALSE(std::filesystem::exists(calendarsIn(home)));
}
