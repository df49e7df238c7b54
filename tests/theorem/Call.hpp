#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/theorem/Random.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace velmiro::theorem {

/// A call of a tool that changes something, and all that must follow from it.
struct Call {
    std::string tool;
    MCPStdio::JSONValue arguments;
    std::string summary; ///< what the user must be asked
    std::string change;  ///< the one change to be made after a yes, as a journal records it
};

/// The answers' longest questions do not fit into a socket's buffers: the client can send them only
/// while the host reads.
inline constexpr std::size_t sizeOfLargeTitle = 450'000;
inline constexpr std::size_t mostThatIsSmall = 50'000;

/// The reminders that can be completed: r0, r1 … with these titles.
inline constexpr std::size_t knownReminders = 3;
std::string reminderIdentifier(std::size_t index);
std::string reminderTitle(std::size_t index);

/// Returns a call of a random tool with a content of its own: `number` appears in it. With
/// `overFiles` it is one whose change is a file with a calendar's item.
Call randomCall(Random& random, std::size_t number, bool overFiles);

/// Returns the line that the host must receive, without its line feed. The JSON is written by hand,
/// not by the program's own writer.
std::string questionLine(const Call& call);

/// Returns the text of the result if the user did not allow the call.
std::string denialText(const Call& call);

/// Returns a change as a journal records it. `content` is what the tool stored.
std::string changeText(std::string_view tool, std::string_view content);

} // namespace velmiro::theorem
