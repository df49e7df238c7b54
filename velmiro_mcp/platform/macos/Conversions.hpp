#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

/// All conversions between Foundation's values and ours. Nil is allowed everywhere. Returned
/// objects are autoreleased.
namespace velmiro::macos {

/// Converts a string by its length: U+0000 is a character like any other. An unpaired surrogate,
/// which an NSString may contain and UTF-8 must not, becomes U+FFFD. Nil becomes nullopt, or the
/// empty text.
std::optional<std::string> textOf(NSString* string);
std::string textOrEmpty(NSString* string);

/// Converts exactly these characters, which must be valid UTF-8. nullopt becomes nil.
NSString* stringOf(std::string_view text);
NSString* stringOrNil(const std::optional<std::string>& text);

/// Converts a date, to the nearest millisecond. Nil becomes nullopt, as does a date beyond all
/// calendars.
std::optional<Instant> instantOf(NSDate* date);
NSDate* dateOf(Instant instant);

/// Returns the system's description of a failure, in the user's language and fit for the agent;
/// never empty.
std::string descriptionOf(NSError* error);
std::string descriptionOf(NSException* exception);

} // namespace velmiro::macos
