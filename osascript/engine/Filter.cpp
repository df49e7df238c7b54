#include "osascript/engine/Filter.hpp"

#include "osascript/dictionary/Comparison.hpp"
#include "osascript/engine/JavaScript.hpp"
#include "osascript/text/Folding.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace velmiro::osascript {

namespace {

constexpr std::array<std::pair<std::string_view, Operator>, 13> operators{{
    {"=", Operator::equal},
    {"_equals", Operator::equal},
    {">", Operator::greater},
    {"_greaterThan", Operator::greater},
    {">=", Operator::greaterOrEqual},
    {"_greaterThanEquals", Operator::greaterOrEqual},
    {"<", Operator::less},
    {"_lessThan", Operator::less},
    {"<=", Operator::lessOrEqual},
    {"_lessThanEquals", Operator::lessOrEqual},
    {"_contains", Operator::contains},
    {"_beginsWith", Operator::beginsWith},
    {"_endsWith", Operator::endsWith},
}};

ScriptError noFilter(const std::string& what) {
    return ScriptError{"Can't filter by " + what + ".", wrongType().number()};
}

Operator operatorNamed(const std::string& name) {
    const auto* const found = std::find_if(operators.begin(), operators.end(),
                                           [&](const auto& entry) { return entry.first == name; });
    if (found == operators.end()) {
        throw noFilter(name);
    }
    return found->second;
}

const Property& propertyNamed(std::string_view name, const Class& type) {
    const Property* const property = entryNamed(type.properties, name);
    if (property == nullptr) {
        throw noObject();
    }
    return *property;
}

/// Returns whether a value has conditions or filters as its properties: a Date is a value itself,
/// and so is a specifier.
bool isTable(JSContextRef context, JSValueRef value) {
    if (!JSValueIsObject(context, value) || JSValueIsDate(context, value)) {
        return false;
    }
    return !JSObjectIsFunction(context, JSValueToObject(context, value, nullptr));
}

Condition conditionOn(JSContextRef context, const std::string& name, JSValueRef wanted) {
    Condition condition{operatorNamed(name), plainValueOf(context, wanted), {}};
    if (isTextual(condition.operation)) {
        condition.folded = folded(textOf(context, wanted));
    }
    return condition;
}

std::vector<Condition> conditionsOf(JSContextRef context, JSValueRef wanted) {
    std::vector<Condition> conditions;
    if (isTable(context, wanted)) {
        forEachProperty(context, wanted, [&](const std::string& name, JSValueRef value) {
            conditions.push_back(conditionOn(context, name, value));
        });
    } else {
        conditions.push_back({Operator::equal, plainValueOf(context, wanted), {}});
    }
    return conditions;
}

} // namespace

Filter Filter::read(JSContextRef context, JSValueRef filter, const Class& type) {
    if (!isTable(context, filter)) {
        throw noFilter("that");
    }
    std::vector<Filter> parts;
    const auto several = [&](Kind kind, JSValueRef value) {
        if (!JSValueIsArray(context, value)) {
            throw noFilter("that");
        }
        std::vector<Filter> filters;
        forEachProperty(context, value, [&](const std::string&, JSValueRef part) {
            filters.push_back(read(context, part, type));
        });
        return Filter{kind, std::move(filters)};
    };
    forEachProperty(context, filter, [&](const std::string& name, JSValueRef value) {
        if (name == "_and") {
            parts.push_back(several(Kind::all, value));
        } else if (name == "_or") {
            parts.push_back(several(Kind::any, value));
        } else if (name == "_not") {
            parts.push_back(several(Kind::none, value));
        } else {
            parts.push_back({propertyNamed(name, type), conditionsOf(context, value)});
        }
    });
    std::stable_partition(parts.begin(), parts.end(),
                          [](const Filter& part) { return part.isCheap(); });
    return {Kind::all, std::move(parts)};
}

Filter Filter::equal(std::string_view property, Value wanted, const Class& type) {
    std::vector<Condition> conditions;
    conditions.push_back({Operator::equal, std::move(wanted), {}});
    std::vector<Filter> parts;
    parts.push_back({propertyNamed(property, type), std::move(conditions)});
    return {Kind::all, std::move(parts)};
}

bool Filter::holds(Object& object) const {
    try {
        return isFulfilledBy(object);
    } catch (const ScriptError& error) {
        if (error.number() == noObject().number()) {
            return false;
        }
        throw;
    }
}

Objects Filter::candidates(const Elements& elements, Object& owner) const {
    if (elements.find == nullptr || kind_ != Kind::all) {
        return elements.all(owner);
    }
    for (const Filter& part : parts_) {
        for (const Condition& condition : part.conditions_) {
            if (condition.operation == Operator::equal) {
                if (auto found = elements.find(owner, part.property_->name, condition.wanted)) {
                    return std::move(*found);
                }
            }
        }
    }
    return elements.all(owner);
}

bool Filter::isFulfilledBy(Object& object) const {
    const auto fulfils = [&](const Filter& part) { return part.isFulfilledBy(object); };
    switch (kind_) {
    case Kind::all:
        return std::all_of(parts_.begin(), parts_.end(), fulfils);
    case Kind::any:
        return std::any_of(parts_.begin(), parts_.end(), fulfils);
    case Kind::none:
        return std::none_of(parts_.begin(), parts_.end(), fulfils);
    case Kind::property:
        break;
    }
    return isPropertyFulfilledBy(object);
}

bool Filter::isPropertyFulfilledBy(Object& object) const {
    std::vector<const Condition*> undecided;
    for (const Condition& condition : conditions_) {
        const auto decision =
            property_->decide == nullptr ? std::nullopt : property_->decide(object, condition);
        if (!decision) {
            undecided.push_back(&condition);
        } else if (!*decision) {
            return false;
        }
    }
    if (undecided.empty()) {
        return true;
    }
    const Value value = property_->read(object);
    return std::all_of(undecided.begin(), undecided.end(),
                       [&](const Condition* condition) { return fulfils(value, *condition); });
}

bool Filter::isCheap() const {
    return kind_ == Kind::property && property_->isKnown;
}

} // namespace velmiro::osascript
