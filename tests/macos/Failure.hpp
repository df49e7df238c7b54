#pragma once

#include <functional>
#include <string>

namespace velmiro::test {

/// What a call throws, as the text that the agent would be given; "no failure" when it does not. In
/// a file of C++ alone: Objective-C++ does not catch C++ exceptions under the tests' runtime.
std::string failureOf(const std::function<void()>& call);

} // namespace velmiro::test
