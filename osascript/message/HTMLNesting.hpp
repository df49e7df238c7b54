#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Returns the document without the tags of elements that are nested deeper than `deepest`; their
/// text stays. HTML parsers look through all open elements at every tag, so deep nesting takes
/// quadratic time. The depth is an estimate: elements whose end tag is optional do not count,
/// because they nest only within others, which do.
std::string withBoundedNesting(std::string_view html, std::size_t deepest);

} // namespace velmiro::osascript
