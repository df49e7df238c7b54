#pragma once

#include <optional>
#include <string>

namespace velmiro::host {

/// Returns the path to listen at: the one asked for; otherwise the value of
/// VELMIRO_APPROVAL_SOCKET, unchanged, if it is set and not empty; otherwise Velmiro/approval.sock
/// in the user's Application Support folder.
std::string socketPath(const std::optional<std::string>& asked);

} // namespace velmiro::host
