#include "velmiro_mcp/platform/Platform.hpp"

namespace velmiro {

std::string osascriptPath() {
    return "/usr/bin/osascript";
}

} // namespace velmiro
