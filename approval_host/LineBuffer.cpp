#include "approval_host/LineBuffer.hpp"

#include <utility>

namespace velmiro::host {

LineBuffer::State LineBuffer::add(std::string_view bytes) {
    if (state_ != State::incomplete) {
        return state_;
    }
    const std::size_t end = bytes.find('\n');
    const std::string_view part = bytes.substr(0, end);
    if (part.size() > longest_ - line_.size()) {
        state_ = State::tooLong;
        line_ = {};
        return state_;
    }
    line_ += part;
    if (end != std::string_view::npos) {
        state_ = State::complete;
    }
    return state_;
}

std::string LineBuffer::take() noexcept {
    return std::exchange(line_, {});
}

} // namespace velmiro::host
