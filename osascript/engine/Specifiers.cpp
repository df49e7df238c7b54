#include "osascript/engine/Specifiers.hpp"

#include "osascript/dictionary/Class.hpp"
#include "osascript/engine/ElementList.hpp"
#include "osascript/engine/Filter.hpp"
#include "osascript/engine/JavaScript.hpp"

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmiro::osascript {

namespace {

using Arguments = std::span<const JSValueRef>;

JSValueRef argument(JSContextRef context, Arguments arguments, std::size_t index) {
    return index < arguments.size() ? arguments[index] : JSValueMakeUndefined(context);
}

/// What a specifier does when a script calls it or uses one of its names.
class Specifier {
public:
    Specifier() = default;
    Specifier(const Specifier&) = delete;
    Specifier& operator=(const Specifier&) = delete;
    virtual ~Specifier() = default;

    virtual JSValueRef call(JSContextRef context, JSObjectRef itself) = 0;
    virtual JSValueRef get(JSContextRef context, const std::string& name) = 0;
    virtual void set(JSContextRef /*context*/, const std::string& name, JSValueRef /*value*/) {
        throw readOnly(name);
    }
};

/// Runs what a script has called for. An exception becomes an error of the script.
template <typename Action>
auto guarded(JSContextRef context, JSValueRef* exception, const Action& action) noexcept
    -> decltype(action()) {
    try {
        return action();
    } catch (const Thrown& thrown) {
        *exception = thrown.value();
    } catch (const ScriptError& error) {
        *exception = makeError(context, error.what(), error.number());
    } catch (const std::bad_alloc&) {
        *exception = makeError(context, "out of memory", ScriptError::general);
    } catch (const std::exception& error) {
        *exception = makeError(context, error.what(), ScriptError::general);
    }
    return {};
}

JSObjectRef makeSpecifier(JSContextRef context, std::unique_ptr<Specifier> specifier);

/// A property of an object: `note.name`. Calling it reads the property.
class PropertySpecifier final : public Specifier {
public:
    PropertySpecifier(const Property& property, ObjectPointer object)
        : property_{property},
          object_{std::move(object)} {}

    JSValueRef call(JSContextRef context, JSObjectRef /*itself*/) override {
        return scriptValue(context, property_.read(*object_));
    }

    JSValueRef get(JSContextRef context, const std::string& name) override;

private:
    const Property& property_;
    ObjectPointer object_;
};

/// Returns the objects as an array of the script's world, each as `make` presents it.
template <typename Make>
JSValueRef arrayOf(JSContextRef context, const Objects& objects, const Make& make) {
    // Filled one by one: the collector does not see values in memory of ours.
    auto* const array = JSObjectMakeArray(context, 0, nullptr, nullptr);
    for (std::size_t index = 0; index < objects.size(); ++index) {
        JSObjectSetPropertyAtIndex(context, array, static_cast<unsigned>(index),
                                   make(objects[index]), nullptr);
    }
    return array;
}

// The methods of a list of elements, with the first argument of the call.

JSValueRef at(JSContextRef context, const ElementList& list, double index) {
    const Objects objects = list.found();
    if (!(index >= 0) || index >= static_cast<double>(objects.size()) ||
        std::floor(index) != index) {
        throw noElement();
    }
    return specifierOf(context, objects[static_cast<std::size_t>(index)]);
}

JSValueRef atGiven(JSContextRef context, const ElementList& list, JSValueRef given) {
    const Value index = valueOf(context, given);
    const auto* const number = std::get_if<double>(&index);
    return at(context, list, number == nullptr ? -1 : *number);
}

JSValueRef first(JSContextRef context, const ElementList& list, const char* property,
                 JSValueRef wanted) {
    const Objects objects =
        list.narrowed(Filter::equal(property, valueOf(context, wanted), list.type())).found();
    if (objects.empty()) {
        throw noObject();
    }
    return specifierOf(context, objects.front());
}

JSValueRef byId(JSContextRef context, const ElementList& list, JSValueRef given) {
    return first(context, list, "id", given);
}

JSValueRef byName(JSContextRef context, const ElementList& list, JSValueRef given) {
    return first(context, list, "name", given);
}

JSValueRef push(JSContextRef context, const ElementList& list, JSValueRef given) {
    list.push(valueOf(context, given));
    return JSValueMakeUndefined(context);
}

JSValueRef whose(JSContextRef context, const ElementList& list, JSValueRef given);

struct Method {
    std::string_view name;
    JSValueRef (*run)(JSContextRef context, const ElementList& list, JSValueRef given);
};

constexpr std::array methods{Method{"whose", whose}, Method{"push", push}, Method{"at", atGiven},
                             Method{"byId", byId}, Method{"byName", byName}};

/// Elements of an object: `folder.notes`. Calling it returns an array of specifiers.
class ElementsSpecifier final : public Specifier {
public:
    explicit ElementsSpecifier(ElementList list) : list_{std::move(list)} {}

    JSValueRef call(JSContextRef context, JSObjectRef /*itself*/) override {
        return arrayOf(context, list_.found(),
                       [&](const ObjectPointer& object) { return specifierOf(context, object); });
    }

    JSValueRef get(JSContextRef context, const std::string& name) override {
        if (name == "length") {
            return JSValueMakeNumber(context, static_cast<double>(list_.found().size()));
        }
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            return at(context, list_, std::strtod(name.c_str(), nullptr));
        }
        if (const Method* const method = entryNamed(methods, name)) {
            return makeFunction(context, [list = list_, method](JSContextRef in, Arguments given) {
                return method->run(in, list, argument(in, given, 0));
            });
        }
        if (const Property* const property = entryNamed(list_.type().properties, name)) {
            return makeFunction(context, [list = list_, property](JSContextRef in, Arguments) {
                return arrayOf(in, list.found(), [&](const ObjectPointer& object) {
                    return scriptValue(in, property->read(*object));
                });
            });
        }
        throw noObject();
    }

private:
    ElementList list_;
};

JSValueRef whose(JSContextRef context, const ElementList& list, JSValueRef given) {
    return makeSpecifier(context, std::make_unique<ElementsSpecifier>(
                                      list.narrowed(Filter::read(context, given, list.type()))));
}

/// One object: `notes[0]`. Calling it returns the specifier itself.
class ObjectSpecifier final : public Specifier {
public:
    explicit ObjectSpecifier(ObjectPointer object) : object_{std::move(object)} {}

    [[nodiscard]] const ObjectPointer& object() const noexcept { return object_; }

    JSValueRef call(JSContextRef /*context*/, JSObjectRef itself) override { return itself; }

    JSValueRef get(JSContextRef context, const std::string& name) override {
        const Class& type = object_->type();
        if (const Property* const property = entryNamed(type.properties, name)) {
            return makeSpecifier(context, std::make_unique<PropertySpecifier>(*property, object_));
        }
        if (const Elements* const elements = entryNamed(type.elements, name)) {
            return makeSpecifier(
                context, std::make_unique<ElementsSpecifier>(ElementList{*elements, object_}));
        }
        if (const Command* const command = entryNamed(type.commands, name)) {
            return makeFunction(context, [command, object = object_](JSContextRef in, Arguments) {
                command->run(*object);
                return JSValueMakeUndefined(in);
            });
        }
        if (const Constructor* const constructor = entryNamed(type.constructors, name)) {
            return makeFunction(context, [constructor](JSContextRef in, Arguments given) {
                return create(in, *constructor, argument(in, given, 0));
            });
        }
        throw noObject();
    }

    void set(JSContextRef context, const std::string& name, JSValueRef value) override {
        const Property* const property = entryNamed(object_->type().properties, name);
        if (property == nullptr) {
            throw noObject();
        }
        if (property->write == nullptr) {
            throw readOnly(name);
        }
        property->write(*object_, valueOf(context, value));
    }

private:
    /// Makes a new object with the properties that a script gives.
    static JSValueRef create(JSContextRef context, const Constructor& constructor,
                             JSValueRef properties) {
        ObjectSpecifier made{constructor.make()};
        if (!JSValueIsUndefined(context, properties) && !JSValueIsNull(context, properties)) {
            forEachProperty(context, properties, [&](const std::string& name, JSValueRef value) {
                made.set(context, name, value);
            });
        }
        return specifierOf(context, made.object_);
    }

    ObjectPointer object_;
};

JSValueRef PropertySpecifier::get(JSContextRef context, const std::string& name) {
    const Value value = property_.read(*object_);
    const auto* const object = std::get_if<ObjectPointer>(&value);
    if (object == nullptr) {
        throw noObject();
    }
    return ObjectSpecifier{*object}.get(context, name);
}

// The engine's side: two classes, whose objects own a Specifier or a ScriptFunction.

template <typename Owned>
Owned& ownedBy(JSObjectRef object) {
    return *static_cast<Owned*>(JSObjectGetPrivate(object));
}

template <typename Owned>
void finalize(JSObjectRef object) {
    delete static_cast<Owned*>(JSObjectGetPrivate(object));
}

JSValueRef callFunction(JSContextRef context, JSObjectRef function, JSObjectRef /*self*/,
                        std::size_t count, const JSValueRef arguments[], JSValueRef* exception) {
    return guarded(context, exception,
                   [&] { return ownedBy<ScriptFunction>(function)(context, {arguments, count}); });
}

JSValueRef callSpecifier(JSContextRef context, JSObjectRef function, JSObjectRef /*self*/,
                         std::size_t /*count*/, const JSValueRef /*arguments*/[],
                         JSValueRef* exception) {
    return guarded(context, exception,
                   [&] { return ownedBy<Specifier>(function).call(context, function); });
}

/// Returns whether JavaScript itself asks any object for this name: to serialise, await, print or
/// convert a specifier is no mistake. The engine passes symbols by their descriptions.
bool isAskedByTheLanguage(std::string_view name) {
    return name == "toJSON" || name == "then" || name == "toString" || name == "valueOf" ||
           name.starts_with("Symbol.");
}

JSValueRef getProperty(JSContextRef context, JSObjectRef object, JSStringRef property,
                       JSValueRef* exception) {
    return guarded(context, exception, [&] {
        const std::string name = textOf(property);
        return isAskedByTheLanguage(name) ? nullptr // the class's prototype answers
                                          : ownedBy<Specifier>(object).get(context, name);
    });
}

bool setProperty(JSContextRef context, JSObjectRef object, JSStringRef property, JSValueRef value,
                 JSValueRef* exception) {
    guarded(context, exception, [&] {
        ownedBy<Specifier>(object).set(context, textOf(property), value);
        return true;
    });
    return true;
}

JSClassRef specifierClass() {
    static auto* const made = [] {
        JSClassDefinition definition = kJSClassDefinitionEmpty;
        definition.className = "ObjectSpecifier";
        definition.finalize = finalize<Specifier>;
        definition.getProperty = getProperty;
        definition.setProperty = setProperty;
        definition.callAsFunction = callSpecifier;
        return JSClassCreate(&definition);
    }();
    return made;
}

JSClassRef functionClass() {
    static auto* const made = [] {
        JSClassDefinition definition = kJSClassDefinitionEmpty;
        definition.className = "Function";
        definition.finalize = finalize<ScriptFunction>;
        definition.callAsFunction = callFunction;
        return JSClassCreate(&definition);
    }();
    return made;
}

JSObjectRef makeSpecifier(JSContextRef context, std::unique_ptr<Specifier> specifier) {
    return JSObjectMake(context, specifierClass(), specifier.release());
}

} // namespace

JSObjectRef specifierOf(JSContextRef context, ObjectPointer object) {
    return makeSpecifier(context, std::make_unique<ObjectSpecifier>(std::move(object)));
}

JSObjectRef makeFunction(JSContextRef context, ScriptFunction body) {
    auto owned = std::make_unique<ScriptFunction>(std::move(body));
    return JSObjectMake(context, functionClass(), owned.release());
}

JSValueRef scriptValue(JSContextRef context, const Value& value) {
    return std::visit(
        [&](const auto& held) -> JSValueRef {
            using Type = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Type, bool>) {
                return JSValueMakeBoolean(context, held);
            } else if constexpr (std::is_same_v<Type, double>) {
                return JSValueMakeNumber(context, held);
            } else if constexpr (std::is_same_v<Type, std::string>) {
                return JSValueMakeString(context, ScriptString{held}.get());
            } else if constexpr (std::is_same_v<Type, Date>) {
                const JSValueRef arguments[] = {JSValueMakeNumber(context, held.milliseconds)};
                return JSObjectMakeDate(context, 1, arguments, nullptr);
            } else if constexpr (std::is_same_v<Type, ObjectPointer>) {
                return specifierOf(context, held);
            } else {
                return JSValueMakeNull(context);
            }
        },
        value);
}

Value valueOf(JSContextRef context, JSValueRef value) {
    if (JSValueIsObjectOfClass(context, value, specifierClass())) {
        auto& specifier = ownedBy<Specifier>(JSValueToObject(context, value, nullptr));
        if (const auto* const object = dynamic_cast<const ObjectSpecifier*>(&specifier)) {
            return object->object();
        }
    }
    return plainValueOf(context, value);
}

} // namespace velmiro::osascript
