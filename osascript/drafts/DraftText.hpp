#pragma once

#include "osascript/drafts/Draft.hpp"
#include "velmiro_mcp/base/Instant.hpp"

#include <optional>
#include <string>

namespace velmiro::osascript {

/// What a draft has of its own, beside what it says.
struct DraftOrigin {
    Instant time;
    std::string identifier; ///< the Message-ID without its angle brackets
    std::optional<Mailbox> sender = std::nullopt;
};

/// Returns a draft as a message with line feeds as line ends: UTF-8 in quoted-printable, exact to
/// the last blank except that CRLF becomes a line feed, with a line feed after the last line.
///
/// Without a sender it has no From. It never has Bcc, nor a field that names this program.
std::string draftText(const Draft& draft, const DraftOrigin& origin);

} // namespace velmiro::osascript
