// How long a sender waits for its reader: a moment for one that takes what comes, and no longer.

#include "MCPStdio/transport/LineSink.hpp"
#include "tests/MCPStdio/transport/Ends.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace MCPStdio;

namespace {

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

/// Returns how long the sender of a line waits that is far larger than the stream and that nobody
/// reads yet.
std::chrono::steady_clock::duration waitWithoutAReader(const Ends& ends) {
    std::thread reader;
    std::chrono::steady_clock::duration wait{};
    {
        LineSink sink{ends.writer};
        const auto before = std::chrono::steady_clock::now();
        sink.send(TextBuffer{std::string(1'000'000, 'x')});
        wait = std::chrono::steady_clock::now() - before;
        reader = std::thread{[&] { readAll(ends.reader); }};
        sink.finish();
    }
    ::close(ends.writer);
    reader.join();
    return wait;
}

void waitingTakesNoProcessorTimeAndCutsNothingOff(const Ends& ends) {
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

} // namespace

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

TEST(LineSink, TheSenderOfALargeLineWaitsAMomentForAReader) {
    constexpr auto moment = std::chrono::milliseconds{100};
    for (const auto& makeStream : {makePipe, makeNonblockingPipe, makeSocketPair}) {
        // Only the shortest is told from the pauses of a busy machine.
        EXPECT_LT(std::min({waitWithoutAReader(makeStream()), waitWithoutAReader(makeStream()),
                            waitWithoutAReader(makeStream())}),
                  moment);
    }
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
    waitingTakesNoProcessorTimeAndCutsNothingOff(makePipe());
    waitingTakesNoProcessorTimeAndCutsNothingOff(makeSocketPair());
    waitingTakesNoProcessorTimeAndCutsNothingOff(makeNonblockingPipe());
}
