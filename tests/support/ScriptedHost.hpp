#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

namespace velmiro::test {

/// An approval host that does as a test says, right or wrong. It accepts every connection at once
/// and hands each to `serve`, on a thread of its own, with the connection's descriptor, which is
/// closed afterwards.
class ScriptedHost {
public:
    using Serve = std::function<void(int connection)>;

    ScriptedHost(const std::filesystem::path& path, Serve serve);
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    /// Stops listening, shuts down what is open and waits for all threads.
    ~ScriptedHost();

    /// How many connections there have been.
    [[nodiscard]] std::size_t accepted() const { return accepted_; }

private:
    void acceptAll();

    [[nodiscard]] const sockaddr* address() const {
        return reinterpret_cast<const sockaddr*>(&address_);
    }

    sockaddr_un address_{};
    MCPStdio::Descriptor listener_;
    std::atomic<bool> ending_{false};
    Serve serve_;
    std::atomic<std::size_t> accepted_{0};
    std::mutex mutex_;
    std::vector<int> open_;
    std::vector<std::thread> serving_;
    std::thread accepting_;
};

/// Reads one line of a connection, without its line feed.
std::string readQuestion(int connection);

/// Writes all of a text, as far as the other end takes it.
void answerWith(int connection, const std::string& text);

} // namespace velmiro::test
