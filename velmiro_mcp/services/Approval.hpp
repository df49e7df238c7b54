#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Task.hpp"

#include <chrono>
#include <functional>
#include <string>

namespace velmiro {

/// Asks the user, through the host that listens on a local socket, before anything is changed.
///
/// It fails closed: whatever goes wrong, and every answer but an explicit yes, is a no. Each
/// question has a connection of its own, so any number may wait at once; nothing is kept between
/// questions. Safe to use from any thread.
class Approval {
public:
    /// How long the host may be silent; each read begins anew.
    explicit Approval(std::chrono::seconds patience = std::chrono::seconds{120}) noexcept
        : patience_{patience} {}

    /// Whether the user allows `tool` what `summary` says. Never throws. Waits on a thread that has
    /// nothing else to do.
    MCPStdio::Task<bool> ask(std::string tool, std::string summary) const;

    /// The exchange itself: one line there, one line back. Blocks the calling thread.
    [[nodiscard]] bool request(const std::string& tool, const std::string& summary) const noexcept;

private:
    std::chrono::seconds patience_;
};

/// The host's socket, worked out afresh at every question: `VELMIRO_APPROVAL_SOCKET` as it stands,
/// else Velmiro/approval.sock in the user's Application Support folder.
std::string approvalSocketPath();

/// How a changing tool asks: `Approval::ask`, or what stands for it in a test.
using Ask = std::function<MCPStdio::Task<bool>(std::string tool, std::string summary)>;

/// What a changing tool answers, having changed nothing, when the user does not allow it.
MCPStdio::MCPToolResult denial(const std::string& summary);

} // namespace velmiro
