#include "approval_host/screens/Output.hpp"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace velmiro::host {

bool Output::write(std::string_view text) const {
    while (!text.empty()) {
        std::array<pollfd, 2> watched{{{descriptor_, POLLOUT, 0}, {stop_, POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
            return false;
        }
        if (watched[0].revents == 0) {
            if (watched[1].revents != 0) {
                return false;
            }
            continue;
        }
        // A pipe that polls as writable accepts this much without blocking.
        const std::string_view part = text.substr(0, 512);
        const ssize_t written = ::write(descriptor_, part.data(), part.size());
        if (written < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

Style Output::style(bool answersAreSeen) const {
    Style style;
    style.answersAreSeen = answersAreSeen;
    if (::isatty(descriptor_) == 1) {
        winsize window{};
        const bool isKnown = ::ioctl(descriptor_, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
        style.columns = isKnown ? window.ws_col : 80;
        const char* terminal = std::getenv("TERM");
        style.bold =
            terminal != nullptr && *terminal != '\0' && std::string_view{terminal} != "dumb";
    }
    return style;
}

} // namespace velmiro::host
