#include "velmiro_mcp/ports/MainQueue.hpp"

namespace velmiro {

/// Needs no main queue: this platform sees changes when it reads the files.
void runBesideMainQueue(const std::function<void()>& work) {
    work();
}

} // namespace velmiro
