#pragma once

#include <map>
#include <string>

/// What the program is given by, and asks of, the process it is.
namespace velmiro {

/// The whole environment. Of a name that stands there twice the first entry counts.
std::map<std::string, std::string> processEnvironment();

/// Lets the process have as many descriptors as the system allows: each question that waits for the
/// user needs one, and the usual soft limit ends at a few hundred.
void raiseDescriptorLimit() noexcept;

} // namespace velmiro
