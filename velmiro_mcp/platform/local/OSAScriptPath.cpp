#include "velmiro_mcp/ports/OSAScriptPath.hpp"

#include <filesystem>

namespace velmiro {

/// The stand-in for the system's program is installed next to this program's folder.
std::string osascriptPath() {
    namespace fs = std::filesystem;
    const fs::path ofTheSystem = "/usr/bin/osascript";
    std::error_code problem;
    if (fs::exists(ofTheSystem, problem)) {
        return ofTheSystem;
    }
    const fs::path here = fs::read_symlink("/proc/self/exe", problem);
    if (problem) {
        return ofTheSystem; // the error is then that it does not exist
    }
    return here.parent_path().parent_path() / "libexec/velmiro/osascript";
}

} // namespace velmiro
