#pragma once

#include <functional>
#include <string>

namespace velmiro::test {

/// Returns the message of the error that a call throws, as the agent would receive it; "no failure"
/// if it throws none. It is defined in a C++ file because Objective-C++ does not catch C++
/// exceptions under the tests' runtime.
std::string failureOf(const std::function<void()>& call);

} // namespace velmiro::test
