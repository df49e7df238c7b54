#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "support/TemporaryFolder.hpp"

#include <string>
#include <string_view>

namespace velmiro::host::test {

using MCPStdio::Descriptor;

/// One connection to a host, as a server opens it.
class Asker {
public:
    /// Connects; `isConnected` tells whether that succeeded. If the listener's queue is full, waits
    /// or fails.
    explicit Asker(const std::string& path, bool waits = true);

    [[nodiscard]] bool isConnected() const { return static_cast<bool>(socket_); }
    void send(std::string_view bytes);
    void ask(std::string_view tool, std::string_view summary);
    /// Returns everything the host sends until it closes the connection.
    std::string reply();
    /// Returns whether the host has sent something or closed the connection.
    [[nodiscard]] bool isAnswered() const { return isAnsweredWithin(0); }
    [[nodiscard]] bool isAnsweredWithin(int milliseconds) const;
    void hangUp() { socket_.close(); }

private:
    Descriptor socket_;
};

inline constexpr std::string_view yes = "{\"allow\":true}\n";
inline constexpr std::string_view no = "{\"allow\":false}\n";

/// A folder for sockets, whose path is short.
struct TemporaryFolder : support::TemporaryFolder {
    TemporaryFolder() : support::TemporaryFolder{"/tmp"} {}
};

/// Returns a socket bound to the path, which listens or leaves connections refused.
Descriptor bindSocket(const std::string& path, bool listens);

} // namespace velmiro::host::test
