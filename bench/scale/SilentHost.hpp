#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <vector>

namespace velmiro::bench {

/// An approval host that lets questions wait and then refuses them all. It works only while it is
/// called. docs/approval-protocol.md tells what is said on its connections.
class SilentHost {
public:
    /// Listens at a path. Throws std::system_error.
    explicit SilentHost(const std::filesystem::path& path);

    /// Takes in questions until so many wait for an answer, or none came for that long. Gives how
    /// many wait. Throws std::runtime_error for what is no question, and std::system_error.
    std::size_t takeQuestions(std::size_t count, std::chrono::milliseconds patience);

    /// Answers no to all that wait.
    void refuseAll();

private:
    MCPStdio::Descriptor listener_;
    std::vector<MCPStdio::Descriptor> waiting_; ///< the connections of unanswered questions
};

} // namespace velmiro::bench
