#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <string>

/// Formats the results of tools for a person.
namespace velmiro::demo {

/// Return the records of a list, one or more lines each; "(nothing)" if there are none.
std::string agenda(const MCPStdio::JSONValue& events);
std::string checklist(const MCPStdio::JSONValue& reminders);
std::string people(const MCPStdio::JSONValue& contacts);
std::string noteList(const MCPStdio::JSONValue& notes);
std::string inbox(const MCPStdio::JSONValue& messages);

/// Returns the lines of the first component with this name in a calendar file, indented.
std::string componentOf(const std::string& file, const std::string& name);

/// Returns a text with every line indented.
std::string indented(const std::string& text);

} // namespace velmiro::demo
