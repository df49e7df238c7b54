#pragma once

#include "osascript/drafts/Mailbox.hpp"

#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// Adds the mailboxes in the value of a field such as From or To, which is unfolded but not
/// decoded. Names are decoded, without quotes, in one line; addresses are as written, but for
/// comments and blanks that are no part of them. The members of a group are added one by one.
///
/// Mail has many addresses that follow no grammar. What has no address is a name; nothing is an
/// address that was not written as one, above all nothing within quotes or an encoded word.
void addMailboxes(std::string_view value, std::vector<Mailbox>& mailboxes);

} // namespace velmiro::osascript
