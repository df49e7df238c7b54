#pragma once

#include "support/Pipe.hpp"

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

namespace MCPStdio {

/// The two ends of a stream. Whoever makes them closes both.
struct Ends {
    int reader = -1;
    int writer = -1;
};

inline Ends makePipe() {
    auto [reading, writing] = velmiro::support::makePipe();
    return {reading.release(), writing.release()};
}

/// Makes a pipe whose writer does not block, as a parent may have made it.
inline Ends makeNonblockingPipe() {
    const Ends ends = makePipe();
    EXPECT_EQ(::fcntl(ends.writer, F_SETFL, O_NONBLOCK), 0);
    return ends;
}

inline Ends makeSocketPair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    return {ends[0], ends[1]};
}

/// Returns everything up to the end of the stream, and closes the descriptor.
inline std::string readAll(int descriptor) {
    std::string all;
    std::array<char, 65536> chunk{};
    for (ssize_t count = 0; (count = ::read(descriptor, chunk.data(), chunk.size())) > 0;) {
        all.append(chunk.data(), static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    return all;
}

/// Whether the sender itself writes into a pipe what fits, however long: that takes a second
/// descriptor for the same pipe.
inline bool pipesCanBeOpenedAgain() {
    return std::filesystem::exists("/proc/self/fd");
}

} // namespace MCPStdio
