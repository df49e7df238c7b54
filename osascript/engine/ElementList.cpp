#include "osascript/engine/ElementList.hpp"

#include <algorithm>

namespace velmiro::osascript {

ElementList ElementList::narrowed(Filter filter) const {
    ElementList narrower = *this;
    narrower.filters_.push_back(std::move(filter));
    return narrower;
}

Objects ElementList::found() const {
    Objects objects = filters_.empty() ? elements_->all(*owner_)
                                       : filters_.front().candidates(*elements_, *owner_);
    std::erase_if(objects, [&](const ObjectPointer& object) {
        return !std::all_of(filters_.begin(), filters_.end(),
                            [&](const Filter& filter) { return filter.holds(*object); });
    });
    if (elements_->arrange != nullptr) {
        elements_->arrange(objects);
    }
    return objects;
}

void ElementList::push(const Value& element) const {
    const auto* const object = std::get_if<ObjectPointer>(&element);
    if (elements_->push == nullptr || object == nullptr || &(*object)->type() != &type()) {
        throw wrongType();
    }
    elements_->push(*owner_, *object);
}

} // namespace velmiro::osascript
