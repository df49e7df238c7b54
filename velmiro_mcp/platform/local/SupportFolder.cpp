#include "velmiro_mcp/ports/SupportFolder.hpp"

#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

namespace velmiro {

std::string applicationSupportDirectory() {
    return local::supportFolder();
}

} // namespace velmiro
