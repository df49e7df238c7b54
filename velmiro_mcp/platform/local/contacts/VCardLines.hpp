#pragma once

#include "velmiro_mcp/platform/local/icalendar/ContentLine.hpp"

#include <optional>
#include <string>
#include <string_view>

/// The lines of a vCard file: versions 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350).
///
/// A file may contain megabytes of photographs in lines that nobody asks for. So a line is first
/// cut out unchanged, in one pass and without a copy. Its value is decoded only if its property is
/// wanted.
namespace velmiro::local {

/// Takes the next line from the front of a file's bytes, with the line breaks inside it: folds
/// before white space, and the soft breaks of a quoted-printable value, which end in an equals
/// sign.
std::string_view takeFoldedLine(std::string_view& bytes);

/// Returns the name of a line's property, without its group.
std::string_view propertyName(std::string_view foldedLine);

/// In version 2.1 the space after a fold was part of the text; in later versions folding adds it.
enum class Folding { keepsBlank, addsBlank };

/// Returns the value of a line, decoded and as valid UTF-8. It keeps its escapes, because they
/// distinguish the separators of a value from characters of its parts. Returns `nullopt` if the
/// line has no value, or one much longer than a name, a number or an address.
std::optional<std::string> valueOf(std::string_view foldedLine, Folding folding);

} // namespace velmiro::local
