#pragma once

#include "osascript/dictionary/Value.hpp"

#include <JavaScriptCore/JavaScript.h>

#include <cstddef>
#include <memory>
#include <string>

/// Values of the script engine, as C++ sees them.
///
/// The engine's garbage collector finds references on the stack, but none on the heap: keep a
/// `JSValueRef` in local variables only, or in a `Thrown`.
namespace velmiro::osascript {

/// A value that a script, or the engine, threw. Keeps it alive.
class Thrown {
public:
    Thrown(JSContextRef context, JSValueRef value);
    Thrown(const Thrown& other) : Thrown{other.context_, other.value_} {}
    Thrown& operator=(const Thrown&) = delete;
    ~Thrown();

    [[nodiscard]] JSValueRef value() const noexcept { return value_; }

private:
    JSContextRef context_;
    JSValueRef value_;
};

/// Calls a function of the engine with the place for an exception. Throws Thrown if there is one.
template <typename Call>
auto checked(JSContextRef context, const Call& call) {
    JSValueRef exception = nullptr;
    auto result = call(&exception);
    if (exception != nullptr) {
        throw Thrown{context, exception};
    }
    return result;
}

/// Owns a string of the engine.
class ScriptString {
public:
    /// Converts UTF-8.
    explicit ScriptString(const std::string& text);

    /// Takes ownership.
    explicit ScriptString(JSStringRef string) noexcept : string_{string} {}
    ScriptString(const ScriptString&) = delete;
    ScriptString& operator=(const ScriptString&) = delete;
    ~ScriptString() { JSStringRelease(string_); }

    [[nodiscard]] JSStringRef get() const noexcept { return string_; }

private:
    JSStringRef string_;
};

/// Returns a string of the engine in UTF-8. Lone surrogates become U+FFFD.
std::string textOf(JSStringRef string);

/// Returns `String(value)`. Throws Thrown.
std::string textOf(JSContextRef context, JSValueRef value);

/// Returns `object[name]`; undefined if there is none. Throws Thrown.
JSValueRef propertyOf(JSContextRef context, JSObjectRef object, const std::string& name);

/// Returns a text, number, boolean or moment that a script has given; null for anything else.
/// Throws Thrown.
Value plainValueOf(JSContextRef context, JSValueRef value);

/// Calls `visit` with the name and the value of each property of an object that can be enumerated.
/// Throws Thrown.
template <typename Visit>
void forEachProperty(JSContextRef context, JSValueRef value, const Visit& visit) {
    using Names = std::unique_ptr<OpaqueJSPropertyNameArray, void (*)(JSPropertyNameArrayRef)>;
    auto* const object = checked(
        context, [&](JSValueRef* exception) { return JSValueToObject(context, value, exception); });
    const Names names{JSObjectCopyPropertyNames(context, object), &JSPropertyNameArrayRelease};
    for (std::size_t at = 0; at < JSPropertyNameArrayGetCount(names.get()); ++at) {
        const std::string name = textOf(JSPropertyNameArrayGetNameAtIndex(names.get(), at));
        visit(name, propertyOf(context, object, name));
    }
}

/// Returns an `Error` of the script's world with that `errorNumber`.
JSValueRef makeError(JSContextRef context, const std::string& message, int number);

} // namespace velmiro::osascript
