#include "MCPStdio/LineSequence.hpp"

#include "MCPStdio/ByteScan.hpp"
#include "MCPStdio/UTF8.hpp"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace MCPStdio {
namespace {

/// The first line end of a text: where it begins and how many bytes it has. No bytes: there is none
/// up to `at`, and what lies behind is at most the beginning of one.
struct LineEnd {
    std::size_t at;
    std::size_t length;
};

LineEnd findLineEnd(std::string_view text) noexcept {
    constexpr unsigned char twoByteLead = 0xC2;
    constexpr unsigned char threeByteLead = 0xE2;
    std::size_t at = 0;
    while (true) {
        at = findByte(text, at, [](unsigned char byte) {
            return (byte >= '\n' && byte <= '\r') || byte == twoByteLead || byte == threeByteLead;
        });
        if (at == text.size()) {
            return {at, 0};
        }
        const auto rest = text.substr(at);
        const auto byte = static_cast<unsigned char>(rest.front());
        if (byte != twoByteLead && byte != threeByteLead) {
            return {at, 1};
        }
        using namespace std::string_view_literals;
        for (const auto separator : {"\xC2\x85"sv, "\xE2\x80\xA8"sv, "\xE2\x80\xA9"sv}) {
            if (rest.starts_with(separator)) {
                return {at, separator.size()};
            }
            if (separator.starts_with(rest)) {
                return {at, 0};
            }
        }
        ++at;
    }
}

} // namespace

LineSequence::LineSequence(int descriptor)
    : descriptor_{descriptor},
      chunk_{new char[chunkSize]} {} // not zeroed: it is read into

std::optional<std::string> LineSequence::next() {
    while (true) {
        const auto text = unread();
        const LineEnd found = findLineEnd(text);
        const bool ended = found.length > 0;
        partial_.append(text.substr(0, found.at));
        begin_ += found.at + found.length;
        if (!ended && fill()) {
            continue;
        }
        if (!ended) { // no more will come: a separator that has only begun is none
            partial_.append(unread());
            begin_ = end_;
        }
        if (!partial_.empty()) {
            return repairUTF8(std::exchange(partial_, {}));
        }
        if (!ended) {
            return std::nullopt;
        }
    }
}

/// Reads more behind what is unread. False at the end of the stream.
bool LineSequence::fill() {
    std::copy(chunk_.get() + begin_, chunk_.get() + end_, chunk_.get());
    end_ -= begin_;
    begin_ = 0;
    while (true) {
        const ssize_t count = ::read(descriptor_, chunk_.get() + end_, chunkSize - end_);
        if (count > 0) {
            end_ += static_cast<std::size_t>(count);
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

} // namespace MCPStdio
