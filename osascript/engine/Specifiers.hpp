#pragma once

#include "osascript/dictionary/Value.hpp"

#include <JavaScriptCore/JavaScript.h>

#include <functional>
#include <span>

/// Object specifiers: what scripts hold instead of objects. `Notes.notes` is not an array yet, but
/// a place to look in; calling it looks. A property is read by calling it: `note.name()`. A name
/// that a class does not have is an error, never undefined.
namespace velmiro::osascript {

/// Returns a specifier of an object.
JSObjectRef specifierOf(JSContextRef context, ObjectPointer object);

/// Returns the value of the engine that a script sees for a value.
JSValueRef scriptValue(JSContextRef context, const Value& value);

/// Returns the value that a script has given: the object of a specifier, and null for anything that
/// no property can have. Throws Thrown.
Value valueOf(JSContextRef context, JSValueRef value);

using ScriptFunction =
    std::function<JSValueRef(JSContextRef context, std::span<const JSValueRef> arguments)>;

/// Makes a function of the script's world. Exceptions of its body become errors there.
JSObjectRef makeFunction(JSContextRef context, ScriptFunction body);

} // namespace velmiro::osascript
