#pragma once

#include "osascript/dictionary/Condition.hpp"

namespace velmiro::osascript {

/// Returns whether an operator compares folded texts.
bool isTextual(Operator operation) noexcept;

/// Returns whether a value fulfils a condition. Only values of one type compare: texts by their
/// characters in JavaScript's order, however these are composed, moments by their time.
bool fulfils(const Value& value, const Condition& condition);

} // namespace velmiro::osascript
