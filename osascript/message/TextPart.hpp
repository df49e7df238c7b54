#pragma once

#include <cstddef>
#include <gmime/gmime.h>
#include <string>
#include <string_view>

/// Single parts of a message.
namespace velmiro::osascript {

enum class TextKind {
    none,
    plain,
    html,
    other, ///< readable, but rarely meant to be read: enriched text, a calendar, a report
};

struct TextType {
    TextKind kind = TextKind::none;
    std::string charset; ///< a label, empty if there is none
    bool isFlowed = false;
    bool deletesSpace = false; ///< at the end of a line that flows
};

/// Returns how a part is read. Malformed types count as those that senders mean: `text` and none at
/// all are plain text.
TextType typeOf(GMimePart* part);

/// Returns whether the sender marked a part as an attachment.
bool isAttachment(GMimeObject* part);

/// Returns whether a part is the report about a message that could not be delivered.
bool isReport(GMimeObject* part);

/// Returns whether a part is a message in an encoding, which the MIME library leaves as it is.
bool isEncodedMessage(GMimeObject* part);

/// Returns the decoded bytes of a part, at most `most`.
std::string bytesOf(GMimePart* part, std::size_t most);

/// Returns a text in UTF-8 with line feeds.
std::string textOf(std::string_view bytes, const TextType& type);

} // namespace velmiro::osascript
