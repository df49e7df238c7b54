#pragma once

#include <memory>
#include <string>
#include <variant>

namespace velmiro::osascript {

struct Class;

/// An object of an application: what a specifier in a script refers to. Objects know nothing of the
/// script engine.
class Object {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    /// Returns its class, which has static storage duration.
    [[nodiscard]] virtual const Class& type() const noexcept = 0;
};

using ObjectPointer = std::shared_ptr<Object>;

/// A moment, in milliseconds since 1970, as JavaScript counts them.
struct Date {
    double milliseconds = 0;

    friend auto operator<=>(const Date&, const Date&) = default;
};

/// The value of a property: null, a boolean, a number, a text in UTF-8, a moment, or an object
/// (never a null pointer).
using Value = std::variant<std::nullptr_t, bool, double, std::string, Date, ObjectPointer>;

} // namespace velmiro::osascript
