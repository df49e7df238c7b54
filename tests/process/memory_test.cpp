// Lines that are too large for the memory there is. Not a unit test: the sanitizers need far more
// address space than this leaves.

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/FailingCalls.hpp"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace velmiro::test;

namespace {

constexpr int most = 180; // megabytes; about 70 are used at the start

const std::string parseError =
    R"({"error":{"code":-32700,"message":"parse error"},"id":null,"jsonrpc":"2.0"})";

/// Returns options for a server that may map that many megabytes.
ChildProcess::Options limitedServer(const TemporaryFolder& home, int megabytes) {
    auto options = serverIn(home);
    options.arguments = {"/usr/bin/prlimit", "--as=" + std::to_string(megabytes << 20U),
                         SERVER_BINARY};
    return options;
}

/// A server that can be made to lack memory at one moment.
struct FailingServer {
    TemporaryFolder home;
    FailingCalls calls{FAILING_CALLS};
    ChildProcess server{options()};

private:
    [[nodiscard]] ChildProcess::Options options() const {
        auto made = serverIn(home);
        made.environment.merge(calls.environment());
        return made;
    }
};

std::string longPing(std::size_t size, const std::string& filling) {
    std::string line = R"({"jsonrpc":"2.0","id":7,"method":"ping","params":{"x":")";
    while (line.size() < size) {
        line += filling;
    }
    return line + "\"}}";
}

} // namespace

TEST(Memory, ALineThatDoesNotFitIsAParseErrorAndTheNextIsRead) {
    const TemporaryFolder home;
    ChildProcess server{limitedServer(home, most)};
    server.writeLine(ping(1));
    ASSERT_EQ(server.readLine(), pong(1));
    // Text, separators that are not line breaks, and bytes that have to be repaired.
    for (const std::string filling : {"x", "\xC3\xA9", "\xFF"}) {
        int parseErrors = 0;
        for (const std::size_t megabytes : {1U, 20U, 80U}) {
            server.writeLine(longPing(megabytes << 20U, filling));
            const auto reply = server.readLine();
            EXPECT_TRUE(reply == pong(7) || reply == parseError)
                << megabytes << " " << reply.value_or("(no reply)").substr(0, 200);
            parseErrors += reply == parseError ? 1 : 0;
            server.writeLine(ping(2));
            ASSERT_EQ(server.readLine(), pong(2)) << megabytes;
        }
        EXPECT_GT(parseErrors, 0);
        EXPECT_LT(parseErrors, 3);
    }
    server.closeInput();
    EXPECT_EQ(server.waitForEnd(), 0);
}

TEST(Memory, ALastLineThatDoesNotFitIsAnsweredAtTheEnd) {
    const TemporaryFolder home;
    ChildProcess server{limitedServer(home, most)};
    server.write(longPing(std::size_t{80} << 20U, "x"));
    server.closeInput();
    EXPECT_EQ(server.readLine(), parseError);
    EXPECT_EQ(server.waitForEnd(), 0);
}

TEST(Memory, TheEndOfALineThatDoesNotFitIsNoLine) {
    const TemporaryFolder home;
    ChildProcess server{limitedServer(home, most)};
    server.writeLine(std::string(std::size_t{100} << 20U, ' ') + ping(1));
    EXPECT_EQ(server.readLine(), parseError);
    server.writeLine(ping(2));
    EXPECT_EQ(server.readLine(), pong(2));
}

TEST(Memory, ACallThatNeedsMoreThanThereIsFailsAlone) {
    const TemporaryFolder home;
    ChildProcess server{limitedServer(home, most)};
    for (const std::size_t megabytes : {1U, 30U}) {
        const std::string title(megabytes << 20U, 't');
        for (const std::string& line :
             {creation(3, title), callLine(3, "contacts_search", R"({"query":")" + title + "\"}"),
              callLine(3, "notes_search", R"({"query":")" + title + "\"}"),
              callLine(3, title, "{}"),
              callLine(3, "reminders_complete", R"({"id":")" + title + "\"}")}) {
            server.writeLine(line);
            const auto reply = server.readLine();
            ASSERT_TRUE(reply) << megabytes;
            EXPECT_TRUE(reply == parseError || reply->ends_with("}")) << reply->substr(0, 200);
            server.writeLine(ping(4));
            ASSERT_EQ(server.readLine(), pong(4)) << megabytes;
        }
    }
}

TEST(Memory, ALineThatIsGivenUpEndsWithItsOwnEnd) {
    using namespace std::chrono_literals;
    FailingServer failing;
    auto& [home, calls, server] = failing;
    for (const std::size_t kilobytes : {64U, 128U, 256U}) {
        // What may begin a separator stays unscanned until more has come.
        const std::string begin = std::string((kilobytes << 10U) - 2, 'x') + "\xE2\x80";
        bool wasReached = true;
        for (int skip = 0; wasReached; ++skip) {
            SCOPED_TRACE(std::to_string(kilobytes) + " after " + std::to_string(skip));
            server.writeLine(std::string(std::size_t{400} << 10U, 'x')); // frees the buffer
            ASSERT_EQ(server.readLine(), parseError);
            calls.arm({.calls = Call::allocate | Call::heap, .skip = skip / 2, .count = 2});
            server.write(begin);
            std::this_thread::sleep_for(10ms); // all of it is read
            calls.disarm();
            wasReached = calls.failed() > 0;
            server.writeLine((skip % 2 == 0 ? "\n" : "\xA8") + ping(1));
            EXPECT_EQ(server.readLine(), parseError);
            ASSERT_EQ(server.readLine(), pong(1));
        }
    }
}

TEST(Memory, NoLineIsReadTwiceWhicheverRequestForMemoryFails) {
    FailingServer failing;
    auto& [home, calls, server] = failing;
    const auto repairedPing = [](int id) {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
               R"(,"method":"ping","params":{"x":")" + std::string(5000, '\xFF') + "\"}}";
    };
    bool wasReached = true;
    for (int skip = 0; wasReached; ++skip) {
        server.writeLine(repairedPing(1));
        ASSERT_EQ(server.readLine(), pong(1));
        calls.arm({.calls = Call::allocate | Call::heap, .skip = skip});
        server.writeLine(repairedPing(2));
        const auto reply = server.readLine();
        calls.disarm();
        wasReached = calls.failed() > 0;
        EXPECT_TRUE(reply && *reply != pong(1)) << reply.value_or("(no reply)");
    }
}

TEST(Memory, EveryRequestIsAnsweredWhicheverRequestForMemoryFails) {
    FailingServer failing;
    auto& [home, calls, server] = failing;
    const std::string call = callLine(5, "contacts_search", R"({"query":"anna"})");
    server.writeLine(call);
    ASSERT_TRUE(server.readLine()); // libraries and threads are there now
    const std::string greeting = R"({"jsonrpc":"2.0","id":5,"method":"initialize","params":{}})";
    // A call alone is made by the thread that reads, one of two by another.
    for (const std::string& lines : {call, call + "\n" + call, greeting}) {
        bool wasReached = true;
        for (int skip = 0; wasReached; ++skip) {
            calls.arm({.calls = Call::allocate | Call::heap, .skip = skip});
            server.writeLine(lines);
            for (auto left = 1 + std::ranges::count(lines, '\n'); left > 0; --left) {
                const auto reply = server.readLine();
                ASSERT_TRUE(reply) << skip;
                EXPECT_TRUE(reply == parseError || reply->find(R"("id":5,)") != std::string::npos)
                    << *reply;
            }
            calls.disarm();
            wasReached = calls.failed() > 0;
        }
    }
}

TEST(Memory, RepliesAreWholeAndInOrderWhicheverRequestForMemoryFailsWhileTheyAreQueued) {
    using namespace std::chrono_literals;
    const auto listing = [](int id) {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/list"})";
    };
    FailingServer failing;
    auto& [home, calls, server] = failing;
    server.writeLine(listing(0));
    const std::string first = server.readLine().value_or("");
    const std::string begin = R"({"id":)";
    ASSERT_TRUE(first.starts_with(begin + "0"));
    const std::string rest = first.substr(begin.size() + 1);
    constexpr int count = 40; // several times what a pipe holds
    int refused = 0;
    bool wasReached = true;
    for (int skip = 0; wasReached; ++skip) {
        calls.arm({.calls = static_cast<std::uint32_t>(Call::allocate), .skip = skip});
        for (int id = 0; id < count; ++id) {
            server.writeLine(listing(id));
        }
        std::this_thread::sleep_for(20ms); // replies are queued once nobody reads for ten
        for (int id = 0; id < count; ++id) {
            const auto reply = server.readLine();
            ASSERT_TRUE(reply) << skip;
            if (reply != begin + std::to_string(id) + rest) {
                ++refused;
                EXPECT_NE(MCPStdio::JSONValue::parse(*reply)["error"], nullptr) << *reply;
            }
        }
        calls.disarm();
        wasReached = calls.failed() > 0;
    }
    EXPECT_GT(refused, 0);
}
