#pragma once

#include <stdexcept>
#include <string>

namespace velmiro::osascript {

/// An error that a script sees, with the number that the real system gives it.
class ScriptError : public std::runtime_error {
public:
    static constexpr int general = -2700;

    explicit ScriptError(const std::string& message, int number = general)
        : std::runtime_error{message},
          number_{number} {}

    [[nodiscard]] int number() const noexcept { return number_; }

private:
    int number_;
};

/// A name in a script refers to no object.
inline ScriptError noObject() {
    return ScriptError{"Can't get object.", -1728};
}

/// An index is beyond the end of a list of elements.
inline ScriptError noElement() {
    return ScriptError{"Can't get object. (Invalid index.)", -1719};
}

/// A value is of the wrong type.
inline ScriptError wrongType() {
    return ScriptError{"Can't convert types.", -1700};
}

/// Scripts cannot change this property.
inline ScriptError readOnly(const std::string& property) {
    return ScriptError{"Can't set " + property + ".", -10006};
}

} // namespace velmiro::osascript
