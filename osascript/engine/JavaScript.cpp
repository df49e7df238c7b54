#include "osascript/engine/JavaScript.hpp"

#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <algorithm>

namespace velmiro::osascript {

namespace {

JSStringRef makeString(const std::string& text) {
    if (text.find('\0') == std::string::npos) {
        return JSStringCreateWithUTF8CString(text.c_str());
    }
    const std::u16string units = local::utf16(text);
    static_assert(sizeof(JSChar) == sizeof(char16_t));
    return JSStringCreateWithCharacters(reinterpret_cast<const JSChar*>(units.data()),
                                        units.size());
}

} // namespace

Thrown::Thrown(JSContextRef context, JSValueRef value) : context_{context}, value_{value} {
    JSValueProtect(context_, value_);
}

Thrown::~Thrown() {
    JSValueUnprotect(context_, value_);
}

ScriptString::ScriptString(const std::string& text) : string_{makeString(text)} {}

std::string textOf(JSStringRef string) {
    // The engine's own conversion ends at a lone surrogate.
    const std::u16string_view units{
        reinterpret_cast<const char16_t*>(JSStringGetCharactersPtr(string)),
        JSStringGetLength(string)};
    if (std::all_of(units.begin(), units.end(), [](char16_t unit) { return unit < 0x80; })) {
        return {units.begin(), units.end()};
    }
    return local::utf8(units);
}

std::string textOf(JSContextRef context, JSValueRef value) {
    const ScriptString string{checked(context, [&](JSValueRef* exception) {
        return JSValueToStringCopy(context, value, exception);
    })};
    return textOf(string.get());
}

JSValueRef propertyOf(JSContextRef context, JSObjectRef object, const std::string& name) {
    const ScriptString key{name};
    return checked(context, [&](JSValueRef* exception) {
        return JSObjectGetProperty(context, object, key.get(), exception);
    });
}

Value plainValueOf(JSContextRef context, JSValueRef value) {
    switch (JSValueGetType(context, value)) {
    case kJSTypeBoolean:
        return JSValueToBoolean(context, value);
    case kJSTypeNumber:
        return JSValueToNumber(context, value, nullptr);
    case kJSTypeString:
        return textOf(context, value);
    default:
        break;
    }
    if (!JSValueIsDate(context, value)) {
        return nullptr;
    }
    return Date{checked(context, [&](JSValueRef* exception) {
        return JSValueToNumber(context, value, exception);
    })};
}

JSValueRef makeError(JSContextRef context, const std::string& message, int number) {
    const ScriptString text{message};
    const JSValueRef arguments[] = {JSValueMakeString(context, text.get())};
    auto* const error = JSObjectMakeError(context, 1, arguments, nullptr);
    const ScriptString name{"errorNumber"};
    JSObjectSetProperty(context, error, name.get(), JSValueMakeNumber(context, number),
                        kJSPropertyAttributeNone, nullptr);
    return error;
}

} // namespace velmiro::osascript
