#include "MCPStdio/transport/LineSink.hpp"

#include "support/Pipe.hpp"
#include "support/TemporaryFolder.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace MCPStdio;
namespace fs = std::filesystem;

namespace {

struct Ends {
    int reader = -1;
    int writer = -1;
};

Ends makePipe() {
    auto [reading, writing] = velmiro::support::makePipe();
    return {reading.release(), writing.release()};
}

std::string readAll(int descriptor) {
    std::string all;
    std::array<char, 65536> chunk{};
    for (ssize_t count = 0; (count = ::read(descriptor, chunk.data(), chunk.size())) > 0;) {
        all.append(chunk.data(), static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    return all;
}

/// Returns a line that begins with its number. Every hundredth is longer than PIPE_BUF.
std::string numberedLine(int number) {
    return std::to_string(number) + std::string(number % 100 == 0 ? 9000 : 30, 'x');
}

/// Sends far more than the stream holds; a reader starts after `before` lines.
void sendsEverything(Ends ends, int before) {
    constexpr int count = 20'000;
    std::string expected;
    std::string received;
    std::thread reader;
    {
        LineSink sink{ends.writer};
        for (int i = 0; i < count; ++i) {
            if (i == before) {
                reader = std::thread{[&] { received = readAll(ends.reader); }};
            }
            const auto line = numberedLine(i);
            expected += line + "\n";
            sink.send(TextBuffer{line});
        }
        if (!reader.joinable()) {
            reader = std::thread{[&] { received = readAll(ends.reader); }};
        }
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
    EXPECT_EQ(received.size(), expected.size());
    EXPECT_TRUE(received == expected);
}

void sendsEverythingBeforeAnyoneReads(Ends ends) {
    sendsEverything(ends, std::numeric_limits<int>::max());
}

Ends makeSocketPair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    return {ends[0], ends[1]};
}

/// Opens a terminal that passes on the bytes as they are.
Ends makeTerminal() {
    Ends ends;
    ends.reader = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(::grantpt(ends.reader), 0);
    EXPECT_EQ(::unlockpt(ends.reader), 0);
    ends.writer = ::open(::ptsname(ends.reader), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw{};
    ::cfmakeraw(&raw);
    EXPECT_EQ(::tcsetattr(ends.writer, TCSANOW, &raw), 0);
    return ends;
}

constexpr const char* ioOfThisThread = "/proc/thread-self/io";

/// Returns the number of bytes that the calling thread has written so far.
std::size_t writtenByThisThread() {
    std::ifstream counts{ioOfThisThread};
    for (std::string name; counts >> name;) {
        std::size_t count = 0;
        counts >> count;
        if (name == "wchar:") {
            return count;
        }
    }
    ADD_FAILURE() << "the system does not count";
    return 0;
}

/// Whether the sender itself writes into a pipe what fits, however long: that takes a second
/// descriptor for the same pipe.
bool pipesCanBeOpenedAgain() {
    return fs::exists("/proc/self/fd");
}

/// Checks that the sender itself writes lines that fit: another thread would hardly be as fast.
void areThereWhenSendReturns(Ends ends, int longest) {
    for (const int length : {1, PIPE_BUF - 1, PIPE_BUF, 6'000, 60'000}) {
        if (length > longest) {
            break;
        }
        LineSink sink{ends.writer};
        sink.send(TextBuffer{std::string(static_cast<std::size_t>(length), 'x')});
        int readable = 0;
        ::ioctl(ends.reader, FIONREAD, &readable);
        EXPECT_EQ(readable, length + 1);
        sink.finish();
        std::vector<char> taken(static_cast<std::size_t>(length) + 1);
        EXPECT_EQ(::read(ends.reader, taken.data(), taken.size()), length + 1);
    }
    ::close(ends.writer);
    ::close(ends.reader);
}

/// Sends a line that is far larger than the stream to a reader that takes a part of it every two
/// milliseconds.
void theSenderWaits(Ends ends) {
    using namespace std::chrono_literals;
    constexpr std::size_t size = 1'000'000;
    std::thread reader{[&] {
        std::vector<char> chunk(65'536);
        for (std::size_t taken = 0; taken < size + 1;) {
            std::this_thread::sleep_for(2ms);
            const ssize_t count = ::read(ends.reader, chunk.data(), chunk.size());
            ASSERT_GT(count, 0);
            taken += static_cast<std::size_t>(count);
        }
    }};
    LineSink sink{ends.writer};
    const auto before = std::chrono::steady_clock::now();
    sink.send(TextBuffer{std::string(size, 'x')});
    // As long as the reader takes, or until it has taken nothing for ten milliseconds.
    EXPECT_GE(std::chrono::steady_clock::now() - before, 10ms);
    sink.finish();
    reader.join();
    ::close(ends.writer);
    ::close(ends.reader);
}

} // namespace

TEST(LineSink, SendingContinuesWithoutAReaderOfAPipe) {
    sendsEverythingBeforeAnyoneReads(makePipe());
}

TEST(LineSink, SendingContinuesBeforeAndWhileAPipeIsRead) {
    sendsEverything(makePipe(), 10'000);
}

TEST(LineSink, ALineThatFitsIsThereWhenSendReturns) {
    const int longest = pipesCanBeOpenedAgain() ? 60'000 : PIPE_BUF - 1;
    areThereWhenSendReturns(makePipe(), longest);
    const Ends nonblocking = makePipe();
    ASSERT_EQ(::fcntl(nonblocking.writer, F_SETFL, O_NONBLOCK), 0);
    areThereWhenSendReturns(nonblocking, longest);
    areThereWhenSendReturns(makeSocketPair(), 6'000); // all that some systems' sockets hold
}

TEST(LineSink, AShortLineForAFileIsWrittenByItsSender) {
    if (!fs::exists(ioOfThisThread)) {
        GTEST_SKIP() << "this system does not count what a thread writes";
    }
    const velmiro::support::TemporaryFolder folder;
    const std::string path = (folder.path() / "lines").string();
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    for (const std::size_t length : {std::size_t{1}, std::size_t{PIPE_BUF} - 1}) {
        LineSink sink{file};
        const std::size_t before = writtenByThisThread();
        sink.send(TextBuffer{std::string(length, 'x')});
        EXPECT_EQ(writtenByThisThread() - before, length + 1);
        sink.finish();
    }
    ::close(file);
}

TEST(LineSink, TheSenderOfALargeLineWaitsForAReaderThatTakesIt) {
    theSenderWaits(makeSocketPair());
    if (pipesCanBeOpenedAgain()) {
        theSenderWaits(makePipe());
    }
}

TEST(LineSink, AReaderAtAGoodPaceIsWaitedFor) {
    const Ends ends = makePipe();
    std::thread reader;
    {
        LineSink sink{ends.writer};
        const std::string line(1000, 'x');
        for (int i = 0; i < 1000; ++i) {
            sink.send(TextBuffer{line}); // far more than the pipe holds: most are queued
        }
        std::array<char, 4096> chunk{};
        for (ssize_t taken = 0; taken < 262'144;) {
            const ssize_t count = ::read(ends.reader, chunk.data(), chunk.size());
            ASSERT_GT(count, 0);
            taken += count;
        }
        const auto before = std::chrono::steady_clock::now();
        sink.send(TextBuffer{line});
        // Most are still queued: the sender waits a moment for the reader.
        EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds{10});
        reader = std::thread{[&] { readAll(ends.reader); }};
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
}

TEST(LineSink, ASlowReaderIsNotWaitedFor) {
    const Ends ends = makePipe();
    std::thread reader;
    {
        LineSink sink{ends.writer};
        const std::string line(1000, 'x');
        for (int i = 0; i < 1000; ++i) {
            sink.send(TextBuffer{line});
        }
        auto shortest = std::chrono::steady_clock::duration::max();
        std::array<char, 8192> chunk{}; // far below a good pace
        for (int round = 0; round < 10; ++round) {
            ASSERT_GT(::read(ends.reader, chunk.data(), chunk.size()), 0);
            std::this_thread::sleep_for(std::chrono::milliseconds{20}); // the queue moves up
            const auto before = std::chrono::steady_clock::now();
            sink.send(TextBuffer{line});
            shortest = std::min(shortest, std::chrono::steady_clock::now() - before);
        }
        EXPECT_LT(shortest, std::chrono::milliseconds{10});
        reader = std::thread{[&] { readAll(ends.reader); }};
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
}

TEST(LineSink, WaitingForAReaderTakesNoProcessorTimeAndCutsNothingOff) {
    const Ends ends = makePipe();
    const std::string line(1'000'000, 'x');
    std::string received;
    std::thread reader;
    {
        LineSink sink{ends.writer};
        sink.send(TextBuffer{line});
        const auto before = std::clock();
        std::this_thread::sleep_for(std::chrono::milliseconds{300});
        EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
        reader = std::thread{[&] { received = readAll(ends.reader); }};
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
    EXPECT_TRUE(received == line + "\n");
}

TEST(LineSink, LinesOfEveryLengthReachAFile) {
    const velmiro::support::TemporaryFolder folder;
    const std::string path = (folder.path() / "lines").string();
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    std::string expected;
    {
        LineSink sink{file};
        for (const std::size_t length : {1U, 4095U, 4096U, 4097U, 100'000U, 0U, 10U}) {
            const std::string line(length, 'x');
            sink.send(TextBuffer{line});
            expected += line + "\n";
        }
        sink.finish();
    }
    ::lseek(file, 0, SEEK_SET);
    EXPECT_TRUE(readAll(file) == expected);
}

TEST(LineSink, ThePipesFlagsStayAsTheParentSetThem) {
    const Ends ends = makePipe();
    const LineSink sink{ends.writer};
    EXPECT_EQ(::fcntl(ends.writer, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(::fcntl(ends.reader, F_GETFL) & O_NONBLOCK, 0);
    ::close(ends.writer);
    ::close(ends.reader);
}

TEST(LineSink, SendingContinuesWithoutAReaderOfANonBlockingPipe) {
    const Ends ends = makePipe();
    ASSERT_EQ(::fcntl(ends.writer, F_SETFL, O_NONBLOCK), 0);
    sendsEverythingBeforeAnyoneReads(ends);
}

TEST(LineSink, SendingContinuesWithoutAReaderOfASocket) {
    sendsEverythingBeforeAnyoneReads(makeSocketPair());
}

TEST(LineSink, SendingContinuesWithoutAReaderOfATerminal) {
    sendsEverythingBeforeAnyoneReads(makeTerminal());
}

TEST(LineSink, LinesOfManyThreadsStayWhole) {
    const Ends ends = makePipe();
    std::string received;
    std::thread reader{[&] { received = readAll(ends.reader); }};
    {
        LineSink sink{ends.writer};
        std::vector<std::thread> senders;
        for (char letter = 'a'; letter < 'i'; ++letter) {
            senders.emplace_back([&sink, letter] {
                for (int i = 0; i < 500; ++i) {
                    TextBuffer line;
                    line.append(static_cast<std::size_t>(1 + i * 7 % 3000), letter);
                    sink.send(std::move(line));
                }
            });
        }
        for (std::thread& sender : senders) {
            sender.join();
        }
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
    std::size_t lines = 0;
    for (std::size_t at = 0; at < received.size(); ++lines) {
        const std::size_t end = received.find('\n', at);
        ASSERT_NE(end, std::string::npos);
        ASSERT_EQ(received.substr(at, end - at).find_first_not_of(received[at]), std::string::npos);
        at = end + 1;
    }
    EXPECT_EQ(lines, 8U * 500U);
}

TEST(LineSinkDeathTest, AClosedReaderEndsTheProcessEvenIfTheSignalIsIgnored) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGPIPE, SIG_IGN);
            const Ends ends = makePipe();
            ::close(ends.reader);
            LineSink sink{ends.writer};
            sink.send(TextBuffer{"to nobody"});
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGPIPE), "");
}

TEST(LineSinkDeathTest, AReaderThatClosesWhileLinesWaitEndsTheProcess) {
    // A process that is only forked would lack the threads of the queue.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGPIPE, SIG_IGN);
            const Ends ends = makePipe();
            LineSink sink{ends.writer};
            sink.send(TextBuffer{std::string(1'000'000, 'x')});
            ::close(ends.reader);
            sink.finish();
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGPIPE), "");
}
