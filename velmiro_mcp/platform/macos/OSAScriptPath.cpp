#include "velmiro_mcp/ports/Platform.hpp"

namespace velmiro {

std::string osascriptPath() {
    return "/usr/bin/osascript";
}

} // namespace velmiro
