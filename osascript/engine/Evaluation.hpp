#pragma once

#include "osascript/dictionary/Value.hpp"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// An application that scripts can ask for: `Application('Notes')`.
struct Application {
    std::string_view name;
    ObjectPointer (*open)();
};

/// What a script has come to.
struct Evaluation {
    bool succeeded = false;
    std::string text; ///< the result, or the error as the command prints it

    /// The engine, with all that the script made. Taking it apart takes a millisecond, which a
    /// process that ends with it can save.
    std::shared_ptr<const void> engine;
};

/// Evaluates a script in a world of its own: the standard globals and `Application`. The result is
/// what its function `run` returns for the arguments, or the value of the last expression if it has
/// none. No result is an empty text; a result that is not a text is an error. A script is ended
/// after ninety seconds, longer than anyone waits for one.
Evaluation evaluate(const std::string& source, const std::vector<std::string>& arguments,
                    const std::vector<Application>& applications);

} // namespace velmiro::osascript
