#pragma once

#include <stdexcept>
#include <string>

namespace velmiro::osascript {

/// A message cannot be read as one.
class UnreadableMessage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Returns what a person would read of the message in a regular file, from its beginning: its text
/// parts in order, without attachments, in UTF-8 with line feeds. Parts that are not shown are
/// skipped, not held in memory.
///
/// The descriptor stays open, and its position as it is. A file that becomes shorter meanwhile, or
/// cannot be read, ends the process. Memory and time are not bounded for a message made to exhaust
/// them: the caller limits the process. Throws UnreadableMessage, also for another kind of file;
/// std::bad_alloc; PlatformError if a character set needs ICU, which cannot be loaded.
std::string messageText(int descriptor);

} // namespace velmiro::osascript
