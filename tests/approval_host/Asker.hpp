#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "support/TemporaryFolder.hpp"

#include <string>
#include <string_view>

namespace velmiro::host::test {

using MCPStdio::Descriptor;

/// One connection to a host, as a server would open it.
class Asker {
public:
    /// Connects; `isConnected` says whether somebody listens there. Where the listener's queue is
    /// full it waits, or is not connected.
    explicit Asker(const std::string& path, bool waits = true);

    [[nodiscard]] bool isConnected() const { return static_cast<bool>(socket_); }
    void send(std::string_view bytes);
    void ask(std::string_view tool, std::string_view summary);
    /// Everything the host sends until it closes the connection.
    std::string reply();
    /// Whether the host has sent something, or closed the connection, by now.
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

/// A socket bound at the path; it listens, or nobody does.
Descriptor bindSocket(const std::string& path, bool listens);

} // namespace velmiro::host::test
