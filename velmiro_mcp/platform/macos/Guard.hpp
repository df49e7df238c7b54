#pragma once

#include "velmiro_mcp/platform/macos/Conversions.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <type_traits>

/// Guards around every call of a framework. A framework raises an NSException if it is used in a
/// way it does not expect; uncaught, that would end the process. Here it becomes a PlatformError
/// with its reason. All objects that the call autoreleased are released as well.
namespace velmiro::macos {

/// Why an operation failed; nullopt if it succeeded.
using Problem = std::optional<std::string>;

/// Calls `body` and returns what went wrong. `body` reports failures that are not exceptions by its
/// Problem& parameter. It must not throw C++ exceptions: they must not cross an Objective-C `@try`.
template <typename Body>
Problem attempt(const Body& body) {
    Problem problem;
    @autoreleasepool {
        @try {
            body(problem);
        } @catch (NSException* exception) {
            problem = descriptionOf(exception);
        }
    }
    return problem;
}

/// Does the same for a `body` with a result, which it returns. Throws what went wrong as
/// PlatformError.
template <typename Body>
auto guarded(const Body& body) {
    std::invoke_result_t<Body, Problem&> result{};
    if (const Problem problem = attempt([&](Problem& found) { result = body(found); })) {
        throw PlatformError{*problem};
    }
    return result;
}

} // namespace velmiro::macos
