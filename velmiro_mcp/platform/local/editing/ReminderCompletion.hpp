#pragma once

#include "velmiro_mcp/platform/local/editing/NextReminder.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace velmiro::local {

/// The result of completing a reminder.
struct Completion {
    std::string text;                 ///< the file with the reminder completed
    std::optional<NextReminder> next; ///< if the reminder recurs
};

/// Completes the `index`-th reminder of a file, at `now`: sets STATUS, COMPLETED, PERCENT-COMPLETE,
/// LAST-MODIFIED and SEQUENCE, and leaves every other line as it is, byte for byte. An open
/// reminder that recurs loses its RRULE; the next occurrence becomes a new reminder with a new UID,
/// which keeps the RRULE.
///
/// Reads the result back. Throws PlatformError if anything else would change: with an older version
/// of a reminder, for instance, whose new SEQUENCE would supersede the version that counts.
Completion completed(const std::string& bytes, std::size_t index, Instant now,
                     ZoneCatalogue& zones);

} // namespace velmiro::local
