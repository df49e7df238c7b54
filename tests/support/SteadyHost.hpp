#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace velmiro::test {

/// An approval host for any number of questions: it answers one after another, on one thread, and
/// keeps nothing.
class SteadyHost {
public:
    /// `allows` decides by the question's line. Throws std::system_error if it cannot listen.
    SteadyHost(const std::filesystem::path& path,
               std::function<bool(const std::string& question)> allows);
    SteadyHost(const SteadyHost&) = delete;
    SteadyHost& operator=(const SteadyHost&) = delete;
    ~SteadyHost();

private:
    void answerAll();

    std::function<bool(const std::string&)> allows_;
    MCPStdio::Descriptor listener_;
    std::atomic<bool> ending_{false};
    std::thread answering_;
};

} // namespace velmiro::test
