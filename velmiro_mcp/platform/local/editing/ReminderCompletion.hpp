#pragma once

#include "velmiro_mcp/platform/local/editing/NextReminder.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace velmiro::local {

/// What completing a reminder makes of its file.
struct Completion {
    std::string text;                 ///< the file with the reminder completed
    std::optional<NextReminder> next; ///< of a reminder that repeats
};

/// Completes the reminder that is the `index`-th of a file, at `now`: STATUS, COMPLETED,
/// PERCENT-COMPLETE, LAST-MODIFIED and SEQUENCE are set, and every other line stays as it is, byte
/// for byte. An open one that repeats loses its RRULE, and what it repeats as next is a reminder of
/// its own with a new UID, which carries the RRULE on.
///
/// The result is read back. Throws PlatformError when it would change anything else, which no file
/// that this program can read has done yet.
Completion completed(const std::string& bytes, std::size_t index, Instant now,
                     ZoneCatalogue& zones);

} // namespace velmiro::local
