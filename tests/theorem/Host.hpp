#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "tests/theorem/History.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::theorem {

/// The hands of all approval hosts of a history: sockets, their paths, and connections. It does
/// what it is told, one thing after another, on one thread. Throws std::system_error where the
/// system refuses.
class Host {
public:
    /// All paths are in `folder`, whose own path is short. HOME is its folder `home`.
    explicit Host(std::filesystem::path folder);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host() { forget(); }

    [[nodiscard]] std::string pathOf(Path path) const;

    void listen(Path path);
    void listenBehindLink(Path path);
    void putNothing(Path path) const;
    void putFile(Path path) const;
    void putFolder(Path path) const;
    void putDeadSocket(Path path);
    /// Ends a host and its connections.
    void kill(std::size_t host);
    void stopListening(std::size_t host) { listeners_.at(host).close(); }
    [[nodiscard]] int listener(std::size_t host) const { return listeners_.at(host).get(); }

    /// Accepts the connection that waits, as that of a question.
    void accept(std::size_t host, std::size_t question);
    /// Accepts a connection before it is known whose it is; `name` says whose.
    int acceptUnknown(std::size_t host);
    void name(int connection, std::size_t question) { questions_[question] = connection; }

    [[nodiscard]] int connection(std::size_t question) const;
    void hangUp(std::size_t question);

    /// Returns whether somebody waits to be accepted by any host.
    [[nodiscard]] bool hasStranger() const;

    /// Closes everything and removes all files.
    void forget();

private:
    struct Connection {
        MCPStdio::Descriptor socket;
        std::size_t host;
    };

    [[nodiscard]] std::string spareName();
    [[nodiscard]] MCPStdio::Descriptor bindAt(const std::string& name) const;

    std::filesystem::path folder_;
    std::vector<MCPStdio::Descriptor> listeners_;
    std::map<int, Connection> connections_; ///< by descriptor
    std::map<std::size_t, int> questions_;  ///< the descriptor of each question's connection
    std::vector<std::string> spareNames_;   ///< made in this history
    std::size_t made_ = 0;
};

/// Reads up to `most` bytes, and no more than the first line; waits for them. Returns what came.
std::string readLine(int connection, std::size_t most);

} // namespace velmiro::theorem
