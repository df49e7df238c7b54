#pragma once

#include <string>
#include <string_view>

/// The character sets of mail, as mail programs mean them. Only UTF-8 and windows-1252, which most
/// messages are in, need no ICU: the first text in another set loads it.
namespace velmiro::osascript {

/// Returns the text in UTF-8. A label means the largest set that senders use under it: iso-8859-1
/// and us-ascii are windows-1252, gb2312 is GB18030, euc-kr is windows-949. What the set does not
/// define becomes U+FFFD, and a byte order mark is dropped. A label that nobody knows counts as
/// none. Throws PlatformError if ICU cannot be loaded.
std::string decoded(std::string_view bytes, std::string_view label);

/// Returns the text in UTF-8 of bytes without a label: UTF-8 if they are well-formed, otherwise
/// windows-1252.
std::string decodedUnlabelled(std::string_view bytes);

/// Returns whether a text of this set is the concatenation of its parts, however it is cut. It is
/// not if a part may end in a state that the next does not expect.
bool isJoinable(std::string_view label);

} // namespace velmiro::osascript
