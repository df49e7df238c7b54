#pragma once

#include "osascript/dictionary/Value.hpp"

namespace velmiro::osascript {

/// Returns a new application Mail over the Maildir `Mail`: its inbox, which is only read, and
/// drafts, which are saved and never sent.
ObjectPointer mailApplication();

} // namespace velmiro::osascript
