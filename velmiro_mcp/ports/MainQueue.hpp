#pragma once

#include <functional>

namespace velmiro {

/// Does `work` and returns when it is done. Where the system notifies a program on its main thread
/// (that another program changed a calendar, say), that thread receives notifications meanwhile and
/// `work` runs on another. Called once, by the main thread.
void runBesideMainQueue(const std::function<void()>& work);

} // namespace velmiro
