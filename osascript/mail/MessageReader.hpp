#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <string>

namespace velmiro::osascript {

/// The rest of a larger message is not read, nor that of a longer text.
inline constexpr std::size_t largestMessage = 64UL << 20;

/// The program that reads the text of a message from its standard input and writes it, in UTF-8, to
/// its standard output. It is a process of its own because a message may be made to exhaust it.
struct MessageReader {
    std::string path;
    std::chrono::milliseconds patience{20'000}; ///< it is killed after this time
};

/// Returns the reader in the folder of this program.
MessageReader installedReader();

/// Returns the readable text of a message, whose file is open at its beginning; if the reader fails
/// or takes too long, the text after the header as it stands. Throws ScriptError if the reader
/// cannot be started, and std::system_error if there is no descriptor for its pipe.
std::string messageText(const MCPStdio::Descriptor& message, const MessageReader& reader);

} // namespace velmiro::osascript
