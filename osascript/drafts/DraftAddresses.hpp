#pragma once

#include "osascript/drafts/Mailbox.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmime/internet-address.h>

namespace velmiro::osascript {

/// Returns a recipient as a header holds it between two commas. It stays as it was given as far as
/// a header can represent that. The name in `Doe, John <john@example.org>` gets its quotes, and
/// whatever would swallow the next recipient becomes a quoted name.
///
/// An address without a name may hold any text: `Ana <ana@example.org>`, or several addresses.
std::string recipientText(const Mailbox& recipient);

/// Returns the mailboxes of a list, without those in its groups. A null list has none.
std::vector<Mailbox> mailboxesIn(InternetAddressList* list);

/// Reads a text that is exactly one address, with or without a name; nullopt for any other text.
std::optional<Mailbox> soleMailbox(std::string_view text);

} // namespace velmiro::osascript
