#include "tests/support/ScriptedHost.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmiro::test {

ScriptedHost::ScriptedHost(const std::filesystem::path& path, Serve serve)
    : serve_{std::move(serve)} {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path) {
        throw std::runtime_error{"the socket's path is too long"};
    }
    std::memcpy(address.sun_path, text.data(), text.size());
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, SOMAXCONN) != 0) {
        throw std::runtime_error{"cannot listen at " + text};
    }
    accepting_ = std::thread{[this] { acceptAll(); }};
}

ScriptedHost::~ScriptedHost() {
    ::shutdown(listener_, SHUT_RDWR);
    accepting_.join();
    {
        const std::lock_guard lock{mutex_};
        for (const int connection : open_) {
            ::shutdown(connection, SHUT_RDWR);
        }
    }
    for (std::thread& thread : serving_) {
        thread.join();
    }
    ::close(listener_);
}

void ScriptedHost::acceptAll() {
    while (true) {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        ++accepted_;
        {
            const std::lock_guard lock{mutex_};
            open_.push_back(connection);
        }
        serving_.emplace_back([this, connection] {
            serve_(connection);
            const std::lock_guard lock{mutex_};
            std::erase(open_, connection);
            ::close(connection);
        });
    }
}

std::string readQuestion(int connection) {
    std::string line;
    char character = 0;
    while (::read(connection, &character, 1) == 1 && character != '\n') {
        line.push_back(character);
    }
    return line;
}

void answerWith(int connection, const std::string& text) {
    std::string_view rest{text};
    while (!rest.empty()) {
        const ssize_t count = ::send(connection, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace velmiro::test
