#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

/// Between Foundation's values and ours; the one place for it. Nil is allowed everywhere. Objects
/// given back are the pool's.
namespace velmiro::macos {

/// The text by its length: U+0000 is a character like any other. Half a surrogate pair, which an
/// NSString may hold and UTF-8 may not, becomes U+FFFD. Nil is no text, or the empty one.
std::optional<std::string> textOf(NSString* string);
std::string textOrEmpty(NSString* string);

/// Exactly these characters, of valid UTF-8. No text is nil.
NSString* stringOf(std::string_view text);
NSString* stringOrNil(const std::optional<std::string>& text);

/// To the nearest millisecond. Nothing for nil, and for what lies beyond all calendars.
std::optional<Instant> instantOf(NSDate* date);
NSDate* dateOf(Instant instant);

/// What the system says of a failure, in the user's language, fit for the agent; never empty.
std::string descriptionOf(NSError* error);
std::string descriptionOf(NSException* exception);

} // namespace velmiro::macos
