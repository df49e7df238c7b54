#include "approval_host/Connection.hpp"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace velmiro::host {

Connection::News Connection::receive() {
    std::array<char, 65'536> bytes;
    const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) {
        return errno == EAGAIN || errno == EINTR ? News::none : News::over;
    }
    if (count == 0) {
        return News::over;
    }
    if (isComplete_) {
        return News::none;
    }
    switch (line_.add({bytes.data(), static_cast<std::size_t>(count)})) {
    case LineBuffer::State::incomplete:
        return News::none;
    case LineBuffer::State::tooLong:
        return News::over;
    case LineBuffer::State::complete:
        break;
    }
    auto question = parseQuestion(line_.take());
    if (!question) {
        return News::over;
    }
    question_ = std::move(*question);
    isComplete_ = true;
    return News::question;
}

void Connection::answer(bool allow) noexcept {
    const std::string_view reply = allow ? "{\"allow\":true}\n" : "{\"allow\":false}\n";
    // It is the first thing sent, so these few bytes fit. An asker that has gone gets no reply.
    static_cast<void>(::send(socket_.get(), reply.data(), reply.size(), 0));
    socket_.close();
}

} // namespace velmiro::host
