#pragma once

#include "osascript/drafts/Draft.hpp"

#include <string>

namespace velmiro::osascript {

/// Saves a draft as one new file in the folder `.Drafts` of a Maildir, where mail programs resume
/// it, and flushes it to disk. Creates what is missing of both folders. Never sends anything.
///
/// Throws ScriptError if the draft cannot be saved; then there is no new message.
void saveDraft(const std::string& maildir, const Draft& draft);

} // namespace velmiro::osascript
