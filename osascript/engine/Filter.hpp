#pragma once

#include "osascript/dictionary/Class.hpp"

#include <JavaScriptCore/JavaScript.h>

#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// A filter of `whose`: `{name: 'Work'}`, `{date: {'>': since}, read: false}`, `{_or: [{…}, {…}]}`.
/// Conditions side by side must all hold. Refers to no value of the engine.
class Filter {
public:
    /// Reads a filter that a script has given for objects of a class. Throws ScriptError if it is
    /// none or names a property that the class does not have, and Thrown if the script's own code
    /// throws.
    static Filter read(JSContextRef context, JSValueRef filter, const Class& type);

    /// Makes the filter `{property: wanted}`. Throws ScriptError if the class has no such property.
    static Filter equal(std::string_view property, Value wanted, const Class& type);

    /// Returns whether an object of the class fulfils it. Reads a property only if the answer
    /// depends on it, and first those that cost nothing. An object that is gone fulfils none.
    [[nodiscard]] bool holds(Object& object) const;

    /// Returns the elements that may fulfil it, from an index if there is one.
    [[nodiscard]] Objects candidates(const Elements& elements, Object& owner) const;

private:
    enum class Kind { all, any, none, property };

    Filter(Kind kind, std::vector<Filter> parts) : kind_{kind}, parts_{std::move(parts)} {}
    Filter(const Property& property, std::vector<Condition> conditions)
        : kind_{Kind::property},
          property_{&property},
          conditions_{std::move(conditions)} {}

    [[nodiscard]] bool isFulfilledBy(Object& object) const;
    [[nodiscard]] bool isPropertyFulfilledBy(Object& object) const;
    [[nodiscard]] bool isCheap() const;

    Kind kind_;
    std::vector<Filter> parts_;
    const Property* property_ = nullptr;
    std::vector<Condition> conditions_;
};

} // namespace velmiro::osascript
