#include "velmiro_mcp/ports/SupportFolder.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"

namespace velmiro {

std::string applicationSupportDirectory() {
    using namespace macos;
    return guarded([](Problem&) {
        NSArray<NSString*>* const folders = NSSearchPathForDirectoriesInDomains(
            NSApplicationSupportDirectory, NSUserDomainMask, YES);
        return textOrEmpty(folders.count > 0 ? [folders objectAtIndex:0] : nil);
    });
}

} // namespace velmiro
