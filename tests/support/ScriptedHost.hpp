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

/// An approval host that behaves as a test wants, correctly or not. It accepts every connection
/// immediately and calls `serve` on a thread of its own with the connection's descriptor, which is
/// closed afterwards.
class ScriptedHost {
public:
    using Serve = std::function<void(int connection)>;

    ScriptedHost(const std::filesystem::path& path, Serve serve);
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    /// Stops listening, shuts down open connections and waits for all threads.
    ~ScriptedHost();

    /// Returns the number of connections so far.
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

/// Reads one line from a connection; returns it without its line feed.
std::string readQuestion(int connection);

/// Writes all of a text, unless the other end stops reading.
void answerWith(int connection, const std::string& text);

} // namespace velmiro::test
