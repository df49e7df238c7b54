#include "approval_host/SocketPath.hpp"

#include "velmiro_mcp/ports/SupportFolder.hpp"

#include <cstdlib>

namespace velmiro::host {

std::string socketPath(const std::optional<std::string>& asked) {
    if (asked) {
        return *asked;
    }
    if (const char* named = std::getenv("VELMIRO_APPROVAL_SOCKET"); named && *named != '\0') {
        return named;
    }
    return applicationSupportDirectory() + "/Velmiro/approval.sock";
}

} // namespace velmiro::host
