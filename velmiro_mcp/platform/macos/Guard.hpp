#pragma once

#include "velmiro_mcp/platform/macos/Conversions.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <type_traits>

/// How a port calls a framework. Frameworks raise an NSException where they are used in a way they
/// do not expect; uncaught it would be the end of the process. It ends here, as a PlatformError
/// with its reason, and so does every object that a framework made meanwhile.
namespace velmiro::macos {

/// Why something did not succeed; nothing when it did.
using Problem = std::optional<std::string>;

/// Calls `body`, which takes a Problem& to report what is no exception, and gives back what went
/// wrong. C++ exceptions are not for `body` to throw: one must not cross an Objective-C `@try`.
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

/// The same for a `body` with a result; throws what went wrong as PlatformError.
template <typename Body>
auto guarded(const Body& body) {
    std::invoke_result_t<Body, Problem&> result{};
    if (const Problem problem = attempt([&](Problem& found) { result = body(found); })) {
        throw PlatformError{*problem};
    }
    return result;
}

} // namespace velmiro::macos
