#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"

/// How the process prepares itself before it listens.
namespace velmiro::host {

/// Opens /dev/null as standard input, output and error where these are closed, so that no socket
/// gets their numbers.
void openStandardDescriptors() noexcept;

/// Every waiting question is an open connection, so the host needs as many descriptors as the user
/// may have.
using velmiro::raiseDescriptorLimit;

/// Makes SIGINT, SIGTERM and SIGHUP readable from a descriptor. A signal that is ignored when the
/// program starts (nohup, a background job) stays ignored. A program has one object of this class,
/// which lives until the program ends.
class StopSignals {
public:
    /// Throws HostError.
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// Becomes readable with the first such signal, and stays so.
    [[nodiscard]] int descriptor() const noexcept { return readEnd_.get(); }

private:
    MCPStdio::Descriptor readEnd_;
    MCPStdio::Descriptor writeEnd_;
};

/// Makes SIGCHLD readable from a descriptor. There is at most one object of this class at a time.
class ChildSignal {
public:
    /// Throws HostError.
    ChildSignal();
    ChildSignal(const ChildSignal&) = delete;
    ChildSignal& operator=(const ChildSignal&) = delete;
    ~ChildSignal();

    /// Becomes readable when a child has ended since the last `clear`.
    [[nodiscard]] int descriptor() const noexcept { return readEnd_.get(); }
    void clear() const noexcept;

private:
    MCPStdio::Descriptor readEnd_;
    MCPStdio::Descriptor writeEnd_;
};

} // namespace velmiro::host
