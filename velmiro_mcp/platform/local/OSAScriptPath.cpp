#include "velmiro_mcp/ports/OSAScriptPath.hpp"

#include <filesystem>

namespace velmiro {

/// What stands in for the system's own program is installed beside this one.
std::string osascriptPath() {
    namespace fs = std::filesystem;
    const fs::path ofTheSystem = "/usr/bin/osascript";
    std::error_code problem;
    if (fs::exists(ofTheSystem, problem)) {
        return ofTheSystem;
    }
    const fs::path here = fs::read_symlink("/proc/self/exe", problem);
    if (problem) {
        return ofTheSystem; // whose absence is then what is reported
    }
    return here.parent_path().parent_path() / "libexec/velmiro/osascript";
}

} // namespace velmiro
