#pragma once

#include <optional>
#include <string>

namespace velmiro::host {

/// Where to listen: the path asked for, else VELMIRO_APPROVAL_SOCKET as it stands when it is set
/// and not empty, else Velmiro/approval.sock in the user's Application Support folder.
std::string socketPath(const std::optional<std::string>& asked);

} // namespace velmiro::host
