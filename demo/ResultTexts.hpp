#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <string>

/// Formats the results of tools for a person.
namespace velmiro::demo {

enum class Detail { all, brief };

/// Return the records of a list, one or more lines each; "(nothing)" if there are none. Without
/// details, each is one line.
std::string agenda(const MCPStdio::JSONValue& events, Detail detail = Detail::all);
std::string checklist(const MCPStdio::JSONValue& reminders);
std::string people(const MCPStdio::JSONValue& contacts, Detail detail = Detail::all);
std::string noteList(const MCPStdio::JSONValue& notes, Detail detail = Detail::all);
std::string inbox(const MCPStdio::JSONValue& messages);

/// Returns the JSON of a result with "…" for an id, which is long and says nothing.
std::string withoutId(const MCPStdio::JSONValue& result);

/// Returns the lines of the first component with this name in a calendar file, indented.
std::string componentOf(const std::string& file, const std::string& name);

/// Returns a text with every line indented.
std::string indented(const std::string& text);

} // namespace velmiro::demo
