#pragma once

#include "osascript/dictionary/Class.hpp"
#include "osascript/engine/Filter.hpp"

#include <utility>
#include <vector>

namespace velmiro::osascript {

/// Elements of an object, all or those that fulfil some filters, not looked up yet. A value:
/// scripts may keep it and narrow it down.
class ElementList {
public:
    ElementList(const Elements& elements, ObjectPointer owner)
        : elements_{&elements},
          owner_{std::move(owner)} {}

    /// Returns the class of the elements.
    [[nodiscard]] const Class& type() const noexcept { return *elements_->type; }

    /// Returns the list of those that also fulfil another filter.
    [[nodiscard]] ElementList narrowed(Filter filter) const;

    /// Looks the elements up, in their order.
    [[nodiscard]] Objects found() const;

    /// Adds a new object. Throws ScriptError if its class is another, or if scripts cannot.
    void push(const Value& element) const;

private:
    const Elements* elements_;
    ObjectPointer owner_;
    std::vector<Filter> filters_;
};

} // namespace velmiro::osascript
