#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <string>

/// What tools answered, as a person would like to see it.
namespace velmiro::demo {

/// The records of the tools that list, a line or more each; "(nothing)" where there are none.
std::string agenda(const MCPStdio::JSONValue& events);
std::string checklist(const MCPStdio::JSONValue& reminders);
std::string people(const MCPStdio::JSONValue& contacts);
std::string noteList(const MCPStdio::JSONValue& notes);
std::string inbox(const MCPStdio::JSONValue& messages);

/// The lines of the first component of that name in a calendar file, moved in.
std::string componentOf(const std::string& file, const std::string& name);

/// Every line of a text moved in.
std::string movedIn(const std::string& text);

} // namespace velmiro::demo
