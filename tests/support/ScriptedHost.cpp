#include "tests/support/ScriptedHost.hpp"

#include "tests/support/Descriptors.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace velmiro::test {
namespace {

#ifdef MSG_NOSIGNAL
constexpr int withoutSignal = MSG_NOSIGNAL;
#else
constexpr int withoutSignal = 0; // an option of the socket says it
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
    listener_ = makeLocalSocket();
    if (::bind(listener_, address(), sizeof address_) != 0 || ::listen(listener_, SOMAXCONN) != 0) {
        throw std::runtime_error{"cannot listen at " + text};
    }
    accepting_ = std::thread{[this] { acceptAll(); }};
}

ScriptedHost::~ScriptedHost() {
    ending_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    const int last = makeLocalSocket(); // macOS wakes nobody who accepts for the sake of a shutdown
    static_cast<void>(::connect(last, address(), sizeof address_));
    accepting_.join();
    ::close(last);
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
        const int connection = acceptConnection(listener_);
        if (connection < 0) {
            return;
        }
        if (ending_) {
            ::close(connection);
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
        const ssize_t count = ::send(connection, rest.data(), rest.size(), withoutSignal);
        if (count <= 0) {
            return;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace velmiro::test
