#pragma once

#include "osascript/dictionary/Value.hpp"

namespace velmiro::osascript {

/// Returns the application Notes, over the folders of Markdown files in the user's home.
///
/// A filter that asks whether a name or a text contains some words is decided without reading a
/// note that cannot contain them.
ObjectPointer notesApplication();

} // namespace velmiro::osascript
