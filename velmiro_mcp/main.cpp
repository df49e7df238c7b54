#include "MCPStdio/MCPServer.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/transport/StandardStreams.hpp"
#include "velmiro_mcp/Kind.hpp"
#include "velmiro_mcp/ToolCatalogue.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"
#include "velmiro_mcp/base/Environment.hpp"
#include "velmiro_mcp/base/ZoneVariable.hpp"
#include "velmiro_mcp/ports/MainQueue.hpp"

#include <csignal>

namespace {

constexpr const char* instructions =
    "The user's own Apple data on this Mac. Read tools run at once. Tools that change data ask the "
    "user first; if the user says no, do not retry unless asked.";

/// Makes a write beyond the file size limit fail like any other, instead of ending the process.
/// Child processes start with the default action again.
void ignoreFileSizeSignal() {
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace

int main() {
    MCPStdio::openClosedStandardStreams(); // before anything else is opened
    velmiro::raiseDescriptorLimit();
    velmiro::sanitizeZoneVariable();
    ignoreFileSizeSignal();
    const auto enabled = velmiro::enabledKinds(velmiro::processEnvironment());
    MCPStdio::MCPServer server{"velmiro-apple", "1.0", instructions, velmiro::tools(enabled)};
    velmiro::runBesideMainQueue([&] { MCPStdio::syncWait(server.run()); });
    return 0;
}
