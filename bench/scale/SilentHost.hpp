#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <vector>

namespace velmiro::bench {

/// An approval host that lets questions wait and refuses them all in the end. It works only while
/// it is called. docs/approval-protocol.md describes what is sent.
class SilentHost {
public:
    /// Listens at a path. Throws std::system_error.
    explicit SilentHost(const std::filesystem::path& path);

    /// Receives questions until `count` are waiting, or none has arrived for that long. Returns how
    /// many are waiting. Throws std::runtime_error for anything but a question, and
    /// std::system_error.
    std::size_t takeQuestions(std::size_t count, std::chrono::milliseconds patience);

    /// Answers no to all waiting questions.
    void refuseAll();

private:
    MCPStdio::Descriptor listener_;
    std::vector<MCPStdio::Descriptor> waiting_; ///< the connections of unanswered questions
};

} // namespace velmiro::bench
