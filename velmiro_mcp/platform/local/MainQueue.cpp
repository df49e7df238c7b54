#include "velmiro_mcp/ports/MainQueue.hpp"

namespace velmiro {

/// Nothing here comes to a program by its main thread: whatever changed is found when it is read.
void runBesideMainQueue(const std::function<void()>& work) {
    work();
}

} // namespace velmiro
