#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace velmiro {

/// One end of a local stream connection, which is closed on destruction. Used by one thread at a
/// time.
class LocalSocket {
public:
    /// The longest path of a socket, in bytes of UTF-8.
    static constexpr std::size_t longestPath = 103;

    /// Connects to whoever listens at `path`. Returns nullopt if that fails. `patience` is how long
    /// this waits at most, and each `read`.
    static std::optional<LocalSocket> connect(std::string_view path,
                                              std::chrono::milliseconds patience);

    /// Writes with one system call, which never raises SIGPIPE. Returns false unless all was
    /// written.
    [[nodiscard]] bool writeAll(std::string_view text) const noexcept;

    /// Returns how many bytes were read; 0 at the end, on failure, and after the timeout.
    [[nodiscard]] std::size_t read(std::span<char> into) const noexcept;

private:
    LocalSocket(MCPStdio::Descriptor socket, std::chrono::milliseconds patience) noexcept
        : socket_{std::move(socket)},
          patience_{patience} {}

    MCPStdio::Descriptor socket_;
    std::chrono::milliseconds patience_;
};

} // namespace velmiro
