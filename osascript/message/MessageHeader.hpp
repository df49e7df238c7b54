#pragma once

#include <gmime/gmime.h>
#include <string>

namespace velmiro::osascript {

/// Returns the lines of a message's header that matter to a reader, between rules; an empty text if
/// there are none. They stand above a message that is part of another.
std::string messageHeader(GMimeMessage* message);

} // namespace velmiro::osascript
