#pragma once

#include "osascript/mail/Mailbox.hpp"

#include <string>
#include <vector>

namespace velmiro::osascript {

/// A message that its user has yet to send. All texts are UTF-8.
struct Draft {
    std::string subject;
    std::string content;
    std::vector<Mailbox> to;
    std::vector<Mailbox> cc;
};

/// Saves a draft as one new file in the folder `.Drafts` of a Maildir, where mail programs resume
/// it, and flushes it to disk. Creates what is missing of both folders. Never sends anything.
///
/// Throws ScriptError if the draft cannot be saved; then there is no new message.
void saveDraft(const std::string& maildir, const Draft& draft);

} // namespace velmiro::osascript
