#include "MCPStdio/transport/LineSequence.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <array>
#include <cerrno>
#include <chrono>
#include <new>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace MCPStdio {
namespace {

constexpr std::size_t chunkSize = std::size_t{64} * 1024;

/// The bytes that decide whether a line ends at the first of them.
constexpr std::size_t longestEnd = 3;

/// Returns the length of the line end at `at`: zero if there is none, nullopt if that depends on
/// bytes that have not been read.
std::optional<std::size_t> lineEndLength(std::string_view text, std::size_t at) noexcept {
    using namespace std::string_view_literals;
    const auto rest = text.substr(at);
    if (static_cast<unsigned char>(rest.front()) < 0x80) {
        return rest.front() >= '\n' && rest.front() <= '\r' ? 1 : 0;
    }
    for (const auto separator : {"\xC2\x85"sv, "\xE2\x80\xA8"sv, "\xE2\x80\xA9"sv}) {
        if (rest.starts_with(separator)) {
            return separator.size();
        }
        if (separator.starts_with(rest)) {
            return std::nullopt;
        }
    }
    return 0;
}

/// Skips blocks without a line end, from `at` on, and adds their bytes to `seen`. Returns where a
/// line end begins, or where too few bytes are left for a block. `echo of 16 MiB` takes half as
/// long again if each byte that may begin a line end is looked at alone.
std::size_t skipBlocks(std::string_view text, std::size_t at, ByteBlock& seen) noexcept {
    constexpr std::size_t size = sizeof(ByteBlock);
    for (; text.size() - at >= size + longestEnd - 1; at += size) {
        const ByteBlock first = loadBlock(text.data() + at);
        const ByteBlock second = loadBlock(text.data() + at + 1);
        const ByteBlock third = loadBlock(text.data() + at + 2);
        seen |= first;
        const auto ends = (first - '\n' <= '\r' - '\n') | ((first == 0xC2) & (second == 0x85)) |
                          ((first == 0xE2) & (second == 0x80) & ((third & 0xFE) == 0xA8));
        if (anyMark(ends)) {
            return at + bytesBeforeMark(ends);
        }
    }
    return at;
}

} // namespace

LineSequence::LineSequence(int descriptor) : descriptor_{descriptor} {}

std::optional<std::string_view> LineSequence::next() {
    while (true) {
        const std::size_t endLength = findEnd();
        if (endLength == 0 && fill()) {
            continue;
        }
        // At the end of the stream, an incomplete separator is part of the line.
        const std::size_t end = endLength > 0 ? scanned_ : buffer_.size();
        const auto line = buffer_.view().substr(begin_, end - begin_);
        begin_ = scanned_ = end + endLength;
        if (std::exchange(skipping_, false)) {
            isASCII_ = true;
            return std::string_view{};
        }
        if (!line.empty()) {
            return std::exchange(isASCII_, true) ? line : repaired(line);
        }
        if (endLength == 0) {
            return std::nullopt;
        }
    }
}

void LineSequence::releaseLine() noexcept {
    constexpr std::size_t worthKeeping = 4 * chunkSize;
    if (begin_ == buffer_.size() && buffer_.capacity() > worthKeeping) {
        buffer_ = TextBuffer{};
        begin_ = scanned_ = 0;
    }
    if (repaired_.capacity() > worthKeeping) {
        repaired_ = std::string{};
    }
}

/// Scans up to the line end and returns its length; zero if it has not been read completely.
std::size_t LineSequence::findEnd() {
    const auto text = buffer_.view();
    ByteBlock seen{};
    scanned_ = skipBlocks(text, scanned_, seen);
    isASCII_ = isASCII_ && !anyMark(seen);
    while (true) {
        scanned_ = findByte(text, scanned_, [](ByteBlock block) {
            return markBelow(block, '\r' + 1) | markNonASCII(block);
        });
        if (scanned_ == text.size()) {
            return 0;
        }
        isASCII_ = isASCII_ && static_cast<unsigned char>(text[scanned_]) < 0x80;
        const auto length = lineEndLength(text, scanned_);
        if (length != 0) {
            return length.value_or(0);
        }
        ++scanned_;
    }
}

/// Reads more of the stream. Returns false at its end, or if reading fails.
bool LineSequence::fill() {
    if (skipping_) {
        begin_ = scanned_;
    }
    buffer_.removePrefix(begin_);
    scanned_ -= begin_;
    begin_ = 0;
    char* const room = roomFor(chunkSize);
    while (true) {
        const ssize_t count = ::read(descriptor_, room, chunkSize);
        if (count > 0) {
            buffer_.added(static_cast<std::size_t>(count));
            return true;
        }
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd readable{descriptor_, POLLIN, 0};
            ::poll(&readable, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
}

/// Returns room after the bytes read so far. If there is no memory for it, gives up the line; if
/// there is still none, waits until other threads have freed some.
char* LineSequence::roomFor(std::size_t count) {
    constexpr std::chrono::milliseconds pause{10};
    while (true) {
        try {
            return buffer_.room(count);
        } catch (const std::bad_alloc&) {
            if (skipping_) {
                std::this_thread::sleep_for(pause);
            }
        }
        skipping_ = true;
        // Unscanned is only the beginning of a separator, a few bytes at most.
        std::array<char, 4> rest{};
        const auto unscanned = buffer_.view().substr(scanned_);
        const std::size_t length = unscanned.copy(rest.data(), rest.size());
        buffer_ = TextBuffer{};
        buffer_.append(std::string_view{rest.data(), length});
        scanned_ = 0;
    }
}

/// Returns the line as valid UTF-8; empty if there is no memory for that.
std::string_view LineSequence::repaired(std::string_view line) {
    if (isValidUTF8(line)) {
        return line;
    }
    try {
        repaired_ = repairUTF8(std::string{line});
    } catch (const std::bad_alloc&) {
        repaired_ = std::string{};
    }
    return repaired_;
}

} // namespace MCPStdio
