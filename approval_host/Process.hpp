#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"

/// What the process arranges for itself before it listens.
namespace velmiro::host {

/// Opens standard input, output and error on /dev/null where they are closed, so that no socket
/// takes their place.
void openStandardDescriptors() noexcept;

/// Every waiting question is an open connection: as many as the system lets this user have.
using velmiro::raiseDescriptorLimit;

/// Turns SIGINT, SIGTERM and SIGHUP into something to poll for; one that is ignored when the
/// program starts (nohup, a background job) stays ignored. There is one object of this in a
/// program, and it lives as long as the program runs.
class StopSignals {
public:
    /// Throws HostError.
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// Readable, and stays so, once such a signal came.
    [[nodiscard]] int descriptor() const noexcept { return readEnd_.get(); }

private:
    MCPStdio::Descriptor readEnd_;
    MCPStdio::Descriptor writeEnd_;
};

} // namespace velmiro::host
