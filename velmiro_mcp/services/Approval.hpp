#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Task.hpp"

#include <chrono>
#include <functional>
#include <string>

namespace velmiro {

/// Asks the user, through the host that listens on a local socket, before anything is changed.
///
/// It fails closed: any error, and any answer but an explicit yes, is a no. Each question has its
/// own connection, so any number may wait at the same time; no state is kept between them. Safe to
/// use from any thread.
class Approval {
public:
    /// Allows the host to be silent for `receiveTimeout`; each read starts the time anew.
    explicit Approval(std::chrono::seconds receiveTimeout = std::chrono::seconds{120}) noexcept
        : receiveTimeout_{receiveTimeout} {}

    /// Returns whether the user allows `tool` to do what `summary` describes. Never throws. The
    /// wait occupies a thread of its own.
    MCPStdio::Task<bool> ask(std::string tool, std::string summary) const;

    /// Performs the exchange itself: sends a line and reads a line. Blocks the calling thread.
    [[nodiscard]] bool request(const std::string& tool, const std::string& summary) const noexcept;

private:
    std::chrono::seconds receiveTimeout_;
};

/// Returns the path of the host's socket, determined afresh for every question: the value of
/// `VELMIRO_APPROVAL_SOCKET`, verbatim, unless it is unset or empty; else Velmiro/approval.sock in
/// the user's Application Support folder.
std::string approvalSocketPath();

/// How a changing tool asks: `Approval::ask`, or a test's substitute.
using Ask = std::function<MCPStdio::Task<bool>(std::string tool, std::string summary)>;

/// Returns the result of a changing tool that the user did not allow and that changed nothing.
MCPStdio::MCPToolResult denial(const std::string& summary);

} // namespace velmiro
