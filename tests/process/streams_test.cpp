// The server on unusual standard streams: whatever they are, it neither hangs nor loses a reply.

#include "support/Pipe.hpp"
#include "tests/process/ServerUnderTest.hpp"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace velmiro::test;
using MCPStdio::Descriptor;
using velmiro::support::makePipe;

namespace {

bool endedWell(std::optional<int> status) {
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

/// Runs a shell command and returns its exit status.
int shell(const TemporaryFolder& home, const std::string& command) {
    ChildProcess::Options options{.arguments = {"/bin/sh", "-c", command},
                                  .environment = environmentFor(home)};
    options.environment["SERVER"] = SERVER_BINARY;
    options.environment["HELLO"] = HELLO_SERVER_BINARY;
    ChildProcess child{options};
    child.closeInput();
    const auto status = child.waitForEnd();
    return status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
}

} // namespace

TEST(Streams, AnEmptyInputEndsTheServerAtOnceWithStatusZero) {
    const TemporaryFolder home;
    EXPECT_EQ(shell(home, "\"$SERVER\" </dev/null"), 0);
}

TEST(Streams, ClosedInputEndsTheServer) {
    const TemporaryFolder home;
    EXPECT_EQ(shell(home, "\"$SERVER\" <&-"), 0);
}

TEST(Streams, ADirectoryAsInputEndsTheServer) {
    const TemporaryFolder home;
    EXPECT_EQ(shell(home, "\"$SERVER\" </"), 0);
}

TEST(Streams, WithItsOutputClosedNoProtocolLineLandsInADataFile) {
    const TemporaryFolder home;
    const std::string list = callLine(1, "calendar_list_events", "{}");
    for (const char* closed : {">&-", ">&- 2>&-"}) {
        EXPECT_EQ(shell(home, "echo '" + list + "' | \"$SERVER\" " + closed), 0);
    }
    EXPECT_EQ(shell(home, "\"$SERVER\" <&- >&- 2>&-"), 0);
    // Nor do other servers of the framework, which do nothing about it themselves, end with an error.
    EXPECT_EQ(shell(home, "echo '" + ping(1) + "' | \"$HELLO\" >&-"), 0);
    for (const auto& [path, content] : snapshot(home.path())) {
        EXPECT_EQ(content.find("jsonrpc"), std::string::npos) << path;
    }
}

TEST(Streams, OutputIntoAFileIsComplete) {
    const TemporaryFolder home;
    const std::string out = (home.path() / "out").string();
    EXPECT_EQ(shell(home, "printf '" + ping(1) + "\\n" + ping(2) + "' | \"$SERVER\" >" + out), 0);
    EXPECT_EQ(readFile(out), pong(1) + "\n" + pong(2) + "\n");
}

TEST(Streams, NonBlockingStreamsAreServed) {
    const TemporaryFolder home;
    auto in = makePipe(O_NONBLOCK);
    auto out = makePipe(O_NONBLOCK);
    auto options = serverIn(home);
    options.input = in.reading.get();
    options.output = out.writing.get();
    ChildProcess server{options};
    in.reading.close();
    out.writing.close();
    std::string written;
    for (int i = 0; i < 1000; ++i) {
        written += ping(i) + "\n";
    }
    ASSERT_EQ(::write(in.writing.get(), written.data(), written.size()),
              static_cast<ssize_t>(written.size()));
    in.writing.close();
    ::fcntl(out.reading.get(), F_SETFL, 0);
    std::string received;
    std::array<char, 4096> chunk{};
    for (ssize_t count = 0; (count = ::read(out.reading.get(), chunk.data(), chunk.size())) > 0;) {
        received.append(chunk.data(), static_cast<std::size_t>(count));
    }
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        expected += pong(i) + "\n";
    }
    EXPECT_EQ(received, expected);
    EXPECT_TRUE(endedWell(server.waitForEnd()));
}

TEST(Streams, ATerminalIsServed) {
    const TemporaryFolder home;
    const Descriptor terminal{::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    ASSERT_TRUE(terminal);
    ASSERT_EQ(::grantpt(terminal.get()), 0);
    ASSERT_EQ(::unlockpt(terminal.get()), 0);
    const Descriptor other{::open(::ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC)};
    ASSERT_TRUE(other);
    auto options = serverIn(home);
    options.input = other.get();
    ChildProcess server{options};
    const std::string line = ping(1) + "\n";
    ASSERT_EQ(::write(terminal.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
    EXPECT_EQ(server.readLine(), pong(1));
    ASSERT_EQ(::write(terminal.get(), "\x04", 1), 1); // end of input
    EXPECT_TRUE(endedWell(server.waitForEnd()));
}

TEST(Streams, AClosedOutputEndsTheServerAlsoWhereTheSignalWasIgnored) {
    for (const bool ignored : {false, true}) {
        const TemporaryFolder home;
        auto options = serverIn(home);
        options.ignoreBrokenPipe = ignored;
        ChildProcess server{options};
        server.closeOutput();
        server.writeLine(ping(1));
        const auto status = server.waitForEnd();
        ASSERT_TRUE(status) << ignored;
        EXPECT_TRUE(WIFSIGNALED(*status) && WTERMSIG(*status) == SIGPIPE);
    }
}

TEST(Streams, AKilledParentEndsAnIdleServerAtOnce) {
    const TemporaryFolder home;
    auto output = makePipe(); // the server keeps its end open until it has ended
    const pid_t parent = ::fork();
    if (parent == 0) {
        auto options = serverIn(home);
        options.output = output.writing.get();
        const ChildProcess server{options};
        server.writeLine(ping(1));
        ::pause();
    }
    output.writing.close();
    std::array<char, 256> reply{};
    const ssize_t count = ::read(output.reading.get(), reply.data(), reply.size());
    EXPECT_EQ(std::string(reply.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))),
              pong(1) + "\n");
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    EXPECT_EQ(::read(output.reading.get(), reply.data(), reply.size()), 0);
}

TEST(Streams, SixtyFourMebibytesOfPingsWrittenBeforeAReplyIsReadAreAllAnswered) {
    const TemporaryFolder home;
    ChildProcess server{serverIn(home)};
    constexpr std::size_t total = std::size_t{64} << 20U;
    std::string chunk;
    int count = 0;
    std::size_t written = 0;
    while (written < total) {
        chunk.clear();
        while (chunk.size() < (std::size_t{1} << 20U)) {
            chunk += ping(count++) + "\n";
        }
        server.write(chunk);
        written += chunk.size();
    }
    server.closeInput();
    for (int i = 0; i < count; ++i) {
        const auto line = server.readLine();
        ASSERT_TRUE(line) << i;
        ASSERT_EQ(*line, pong(i));
    }
    EXPECT_EQ(server.readLine(), std::nullopt);
    EXPECT_TRUE(endedWell(server.waitForEnd()));
}

TEST(Streams, TenThousandPingsAtOnceAreAllAnswered) {
    const TemporaryFolder home;
    ChildProcess server{serverIn(home)};
    std::string all;
    for (int i = 0; i < 10'000; ++i) {
        all += ping(i) + "\n";
    }
    std::thread writer{[&] { server.write(all); }};
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_EQ(server.readLine(), pong(i));
    }
    writer.join();
}

TEST(Streams, ALineOfTwoHundredAndFiftySixMebibytesIsRead) {
    const TemporaryFolder home;
    ChildProcess server{serverIn(home)};
    const std::string filler(std::size_t{1} << 20U, 'x');
    std::thread writer{[&] {
        server.write(R"({"id":1,"method":"ping","params":")");
        for (int i = 0; i < 256; ++i) {
            server.write(filler);
        }
        server.write("\"}\n" + ping(2) + "\n");
    }};
    EXPECT_EQ(server.readLine(std::chrono::seconds{120}), pong(1));
    EXPECT_EQ(server.readLine(), pong(2));
    writer.join();
    server.closeInput();
    EXPECT_TRUE(endedWell(server.waitForEnd()));
}

TEST(Streams, AHundredThousandOpenBracketsAreAParseError) {
    const TemporaryFolder home;
    ChildProcess server{serverIn(home)};
    server.writeLine(std::string(100'000, '['));
    EXPECT_EQ(server.readLine(),
              R"({"error":{"code":-32700,"message":"parse error"},"id":null,"jsonrpc":"2.0"})");
    server.writeLine(ping(1));
    EXPECT_EQ(server.readLine(), pong(1));
}

TEST(Streams, HelloServerGivesBackItsArgument) {
    const TemporaryFolder home;
    auto options = serverIn(home);
    options.arguments = {HELLO_SERVER_BINARY};
    ChildProcess server{options};
    server.writeLine(callLine(1, "echo", R"({"text":"hé/\u0001 😀"})"));
    EXPECT_EQ(server.readLine(), R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":)"
                                 R"("hé/\u0001 😀","type":"text"}],"isError":false}})");
    server.closeInput();
    EXPECT_TRUE(endedWell(server.waitForEnd()));
}
