#include "velmiro_mcp/ports/OSAScriptPath.hpp"

namespace velmiro {

std::string osascriptPath() {
    return "/usr/bin/osascript";
}

} // namespace velmiro
