#pragma once

#include "osascript/drafts/Mailbox.hpp"

#include <optional>
#include <string>

namespace velmiro::osascript {

/// Returns who sends the drafts of a Maildir: the address in the variable EMAIL or, without one,
/// the only address that its sent messages come from. Of those the latest 200 in the folder `.Sent`
/// are read, by the times in their names; the name is that of the latest.
///
/// Returns nullopt if two of them come from different addresses, or if none can be read.
std::optional<Mailbox> draftSender(const std::string& maildir);

} // namespace velmiro::osascript
