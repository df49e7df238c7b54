#include "MCPStdio/transport/LineSink.hpp"

#include "support/TemporaryFolder.hpp"
#include "tests/MCPStdio/transport/Ends.hpp"

#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace MCPStdio;
namespace fs = std::filesystem;

namespace {

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
    areThereWhenSendReturns(makeNonblockingPipe(), longest);
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
    sendsEverythingBeforeAnyoneReads(makeNonblockingPipe());
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
