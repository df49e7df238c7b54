#pragma once

#include "osascript/dictionary/Value.hpp"

#include <string>

namespace velmiro::osascript {

enum class Operator {
    equal,
    greater,
    greaterOrEqual,
    less,
    lessOrEqual,
    contains,
    beginsWith,
    endsWith,
};

/// One condition of a filter, on the value of a property: `{'>': since}`.
struct Condition {
    Operator operation = Operator::equal;
    Value wanted;
    std::string folded; ///< for the last three operators: `wanted`, folded for searching
};

} // namespace velmiro::osascript
