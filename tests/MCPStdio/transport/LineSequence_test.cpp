#include "MCPStdio/transport/LineSequence.hpp"

#include "support/Pipe.hpp"

#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace MCPStdio;
using namespace std::chrono_literals;

namespace {

/// Returns all lines of a stream that is written in pieces of a given size.
std::vector<std::string> linesOf(std::string_view text, std::size_t pieceSize = 1 << 20) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    std::thread writer{[&] {
        for (std::size_t at = 0; at < text.size(); at += pieceSize) {
            const auto piece = text.substr(at, pieceSize);
            EXPECT_EQ(::write(ends[1], piece.data(), piece.size()),
                      static_cast<ssize_t>(piece.size()));
        }
        ::close(ends[1]);
    }};
    std::vector<std::string> lines;
    LineSequence sequence{ends[0]};
    while (auto line = sequence.next()) {
        lines.emplace_back(*line);
    }
    writer.join();
    ::close(ends[0]);
    return lines;
}

using Lines = std::vector<std::string>;

/// Reads a stream to which another thread writes a line once it has done something else.
void readsWhatIsWrittenAfter(velmiro::support::Pipe ends, const std::function<void()>& delay) {
    std::thread writer{[&] {
        delay();
        EXPECT_EQ(::write(ends.writing.get(), "late\n", 5), 5);
        ends.writing.close();
    }};
    LineSequence sequence{ends.reading.get()};
    EXPECT_EQ(sequence.next(), "late");
    EXPECT_EQ(sequence.next(), std::nullopt);
    writer.join();
}

} // namespace

TEST(LineSequence, EverySeparatorEndsALine) {
    EXPECT_EQ(linesOf("a\nb\vc\fd\re\r\nf\xC2\x85g\xE2\x80\xA8h\xE2\x80\xA9i"),
              (Lines{"a", "b", "c", "d", "e", "f", "g", "h", "i"}));
}

TEST(LineSequence, EmptyLinesAreSkipped) {
    EXPECT_EQ(linesOf("\n\n\r\n\n"), Lines{});
    EXPECT_EQ(linesOf("\na\n\r\n\nb\n"), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf(" \n"), (Lines{" "}));
    EXPECT_EQ(linesOf(""), Lines{});
}

TEST(LineSequence, ALastLineWithoutAnEndCounts) {
    EXPECT_EQ(linesOf("a\nb"), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf("b"), (Lines{"b"}));
}

TEST(LineSequence, LinesDoNotDependOnThePiecesInWhichTheBytesArrive) {
    const std::string text = "one\r\ntwo é 語 😀\xE2\x80\xA8three ’quoted’\xC2\x85"
                             "four\xE2\x80\xA9\n\nfive";
    const Lines whole = linesOf(text);
    EXPECT_EQ(whole, (Lines{"one", "two é 語 😀", "three ’quoted’", "four", "five"}));
    for (const std::size_t size : {1U, 2U, 3U, 5U}) {
        EXPECT_EQ(linesOf(text, size), whole) << size;
    }
}

TEST(LineSequence, EverySeparatorIsFoundAtEveryPositionAndNothingElseIsOne) {
    // Bytes that resemble parts of a separator surround it.
    constexpr std::array<std::string_view, 7> separators{
        "\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
    constexpr std::array<std::string_view, 6> fillers{"x",  "\t",       "é",
                                                      "“”", "\xC2\x86", "\xE2\x80\xA7"};
    for (const std::string_view filler : fillers) {
        for (std::size_t count = 1; count < 70; ++count) {
            std::string line;
            for (std::size_t i = 0; i < count; ++i) {
                line += filler;
            }
            for (const std::string_view separator : separators) {
                std::string text = line;
                text.append(separator).append(line).append("tail");
                ASSERT_EQ(linesOf(text), (Lines{line, line + "tail"}));
            }
        }
    }
}

TEST(LineSequence, ALongLineIsReleasedAndTheNextOnesStillRead) {
    std::string text(1'000'000, 'x');
    const std::string expected = text;
    text += "\nsecond\n" + std::string(300'000, '\xFF') + "\nlast";
    auto ends = velmiro::support::makePipe(0);
    std::thread writer{[&] {
        for (std::string_view rest = text; !rest.empty();) {
            const ssize_t written = ::write(ends.writing.get(), rest.data(), rest.size());
            ASSERT_GT(written, 0);
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
        ends.writing.close();
    }};
    LineSequence sequence{ends.reading.get()};
    EXPECT_EQ(sequence.next(), expected);
    sequence.releaseLine();
    EXPECT_EQ(sequence.next(), "second");
    sequence.releaseLine();
    EXPECT_EQ(sequence.next()->size(), 900'000U);
    sequence.releaseLine();
    EXPECT_EQ(sequence.next(), "last");
    sequence.releaseLine();
    EXPECT_EQ(sequence.next(), std::nullopt);
    writer.join();
}

TEST(LineSequence, AnIncompleteSeparatorAtTheEndIsText) {
    EXPECT_EQ(linesOf("a\xE2\x80"), (Lines{"a\xEF\xBF\xBD"}));
    EXPECT_EQ(linesOf("a\xC2"), (Lines{"a\xEF\xBF\xBD"}));
    EXPECT_EQ(linesOf("\xE2"), (Lines{"\xEF\xBF\xBD"}));
}

TEST(LineSequence, BytesThatAreNotUTF8AreReplaced) {
    EXPECT_EQ(linesOf("caf\xE9\n\xFF"), (Lines{"caf\xEF\xBF\xBD", "\xEF\xBF\xBD"}));
    EXPECT_EQ(linesOf(std::string_view{"a\0b\n", 4}), (Lines{std::string{"a\0b", 3}}));
}

TEST(LineSequence, ABadByteIsReplacedWhereverItIs) {
    for (const char bad : {'\xFF', '\x80'}) {
        for (std::size_t length = 1; length < 60; ++length) {
            for (std::size_t place = 0; place < length; ++place) {
                std::string line(length, 'x');
                line[place] = bad;
                const std::string text = line + '\n' + line;
                line.replace(place, 1, "\xEF\xBF\xBD");
                ASSERT_EQ(linesOf(text), (Lines{line, line})) << length << ' ' << place;
                ASSERT_EQ(linesOf(text, 25), (Lines{line, line})) << length << ' ' << place;
            }
        }
    }
}

TEST(LineSequence, LinesOfEveryLengthAroundTheBufferSizeAreWhole) {
    std::string text;
    Lines expected;
    for (const std::size_t length : {1U, 65535U, 65536U, 65537U, 131072U, 10U, 1000000U, 3U}) {
        expected.emplace_back(length, static_cast<char>('a' + expected.size()));
        text += expected.back() + "\n";
    }
    EXPECT_EQ(linesOf(text, 4096), expected);
    EXPECT_EQ(linesOf(text, 60000), expected);
}

TEST(LineSequence, ANonBlockingStreamIsWaitedForWithoutTakingProcessorTime) {
    const auto before = std::clock();
    readsWhatIsWrittenAfter(velmiro::support::makePipe(O_NONBLOCK),
                            [] { std::this_thread::sleep_for(500ms); });
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 5);
}

TEST(LineSequence, ASignalDoesNotEndAStream) {
    struct sigaction action{};
    action.sa_handler = [](int /*signal*/) {}; // without SA_RESTART: reading is interrupted
    ::sigaction(SIGUSR1, &action, nullptr);
    readsWhatIsWrittenAfter(velmiro::support::makePipe(), [reader = ::pthread_self()] {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(2ms);
            ::pthread_kill(reader, SIGUSR1);
        }
    });
    std::signal(SIGUSR1, SIG_DFL);
}

TEST(LineSequence, AnUnreadableDescriptorIsAtItsEnd) {
    LineSequence closed{-1};
    EXPECT_EQ(closed.next(), std::nullopt);
    const int folder = ::open("/", O_RDONLY | O_CLOEXEC);
    LineSequence directory{folder};
    EXPECT_EQ(directory.next(), std::nullopt);
    ::close(folder);
}
