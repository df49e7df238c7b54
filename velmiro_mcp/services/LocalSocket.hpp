#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace velmiro {

/// One end of a local stream connection; closed when it goes. Used by one thread at a time.
class LocalSocket {
public:
    /// The longest path a connection can be made to, in bytes of UTF-8.
    static constexpr std::size_t longestPath = 103;

    /// A connection to whoever listens at `path`; nothing when that cannot be had.
    static std::optional<LocalSocket> connect(std::string_view path);

    LocalSocket(LocalSocket&& other) noexcept : descriptor_{std::exchange(other.descriptor_, -1)} {}
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;
    LocalSocket& operator=(LocalSocket&&) = delete;
    ~LocalSocket();

    /// How long each `read` waits at most.
    void setReceiveTimeout(std::chrono::seconds timeout) const noexcept;

    /// Writes with one call. False unless everything was taken; never a broken-pipe signal.
    [[nodiscard]] bool writeAll(std::string_view text) const noexcept;

    /// How many bytes came; 0 at the end, at a failure, and when the time is over.
    [[nodiscard]] std::size_t read(std::span<char> into) const noexcept;

private:
    explicit LocalSocket(int descriptor) noexcept : descriptor_{descriptor} {}

    int descriptor_;
};

} // namespace velmiro
