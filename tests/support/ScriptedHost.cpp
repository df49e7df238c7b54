#include "tests/support/ScriptedHost.hpp"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace velmiro::test {

using MCPStdio::Descriptor;

namespace {

#ifdef MSG_NOSIGNAL
constexpr int withoutSignal = MSG_NOSIGNAL;
#else
constexpr int withoutSignal = 0; // macOS has an option of the socket instead
#endif

// Linux opens sockets that no child inherits; macOS marks them afterwards.
#ifdef SOCK_CLOEXEC
Descriptor makeSocket() {
    return Descriptor{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
}

Descriptor acceptFrom(int listener) {
    return Descriptor{::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)};
}
#else
Descriptor makeSocket() {
    Descriptor made{::socket(AF_UNIX, SOCK_STREAM, 0)};
    ::fcntl(made.get(), F_SETFD, FD_CLOEXEC);
    return made;
}

Descriptor acceptFrom(int listener) {
    Descriptor connection{::accept(listener, nullptr, nullptr)};
    const int on = 1;
    ::setsockopt(connection.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    ::fcntl(connection.get(), F_SETFD, FD_CLOEXEC);
    return connection;
}
#endif

} // namespace

ScriptedHost::ScriptedHost(const std::filesystem::path& path, Serve serve)
    : serve_{std::move(serve)} {
    address_.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address_.sun_path) {
        throw std::runtime_error{"the socket's path is too long"};
    }
    std::memcpy(address_.sun_path, text.data(), text.size());
    listener_ = makeSocket();
    if (::bind(listener_.get(), address(), sizeof address_) != 0 ||
        ::listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::runtime_error{"cannot listen at " + text};
    }
    accepting_ = std::thread{[this] { acceptAll(); }};
}

ScriptedHost::~ScriptedHost() {
    ending_ = true;
    ::shutdown(listener_.get(), SHUT_RDWR);
    const Descriptor last = makeSocket(); // on macOS a shutdown does not wake a thread in `accept`
    if (last) {
        static_cast<void>(::connect(last.get(), address(), sizeof address_));
    }
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
}

void ScriptedHost::acceptAll() {
    while (true) {
        Descriptor connection = acceptFrom(listener_.get());
        if (!connection || ending_) {
            return;
        }
        ++accepted_;
        {
            const std::lock_guard lock{mutex_};
            open_.push_back(connection.get());
        }
        serving_.emplace_back([this, connection = std::move(connection)]() mutable {
            serve_(connection.get());
            const std::lock_guard lock{mutex_};
            std::erase(open_, connection.get());
            connection.close();
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
        const ssize_t count = ::send(connection, rest.data(), rest.size(), withoutSignal);
        if (count <= 0) {
            return;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace velmiro::test
