#pragma once

#include "velmiro_mcp/platform/local/icalendar/ContentLine.hpp"

#include <optional>
#include <string>
#include <string_view>

/// The lines of a file of cards: vCard 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350).
///
/// A file may hold megabytes of photographs in lines that nobody asks for. So a line is first cut
/// out as it stands, in one pass and without a copy; what it says is worked out only when its name
/// is one that is wanted.
namespace velmiro::local {

/// Takes the next line from the front of a file's bytes, with the breaks inside it: before a blank,
/// and where a quoted-printable value says by a last equals sign that it goes on.
std::string_view takeFoldedLine(std::string_view& bytes);

/// The name of the property that a line is about, without its group.
std::string_view propertyName(std::string_view foldedLine);

/// In 2.1 the blank after a line break was there before the line was folded; later it was not.
enum class Folding { keepsBlank, addsBlank };

/// What the value of a line says: decoded and valid UTF-8. Escapes are left, for they tell what
/// separates the parts of a value from what is a part. Nothing when the line has no value, or one
/// much longer than a name, a number or an address is.
std::optional<std::string> valueOf(std::string_view foldedLine, Folding folding);

} // namespace velmiro::local
