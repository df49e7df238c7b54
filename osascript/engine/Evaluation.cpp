#include "osascript/engine/Evaluation.hpp"

#include "osascript/dictionary/ScriptError.hpp"
#include "osascript/engine/JavaScript.hpp"
#include "osascript/engine/Specifiers.hpp"

#include <algorithm>
#include <cmath>

// Exported by the engine, but not declared in its headers.
extern "C" void JSContextGroupSetExecutionTimeLimit(JSContextGroupRef group, double seconds,
                                                    bool (*shouldTerminate)(JSContextRef context,
                                                                            void* data),
                                                    void* data);

namespace velmiro::osascript {

namespace {

constexpr double longestRun = 90; // seconds
constexpr int timedOut = -1712;

/// A global context with its engine.
class World {
public:
    World() : context_{JSGlobalContextCreate(nullptr)} {
        JSContextGroupSetExecutionTimeLimit(
            JSContextGetGroup(context_), longestRun,
            [](JSContextRef, void* expired) { return *static_cast<bool*>(expired) = true; },
            &expired_);
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() { JSGlobalContextRelease(context_); }

    [[nodiscard]] JSContextRef context() const noexcept { return context_; }

    /// Returns whether the engine was told to end the script.
    [[nodiscard]] bool isExpired() const noexcept { return expired_; }

    /// Evaluates a text in the global scope. Throws Thrown.
    [[nodiscard]] JSValueRef evaluate(const std::string& source) const {
        const ScriptString text{source};
        return checked(context_, [&](JSValueRef* exception) {
            return JSEvaluateScript(context_, text.get(), nullptr, nullptr, 1, exception);
        });
    }

    void define(const std::string& name, JSValueRef value) const {
        const ScriptString key{name};
        JSObjectSetProperty(context_, JSContextGetGlobalObject(context_), key.get(), value,
                            kJSPropertyAttributeDontEnum, nullptr);
    }

private:
    JSGlobalContextRef context_;
    bool expired_ = false;
};

JSObjectRef makeApplicationFunction(JSContextRef context,
                                    const std::vector<Application>& applications) {
    return makeFunction(context, [applications](JSContextRef in,
                                                std::span<const JSValueRef> arguments) {
        const std::string name = arguments.empty() ? "" : textOf(in, arguments[0]);
        const auto found = std::find_if(applications.begin(), applications.end(),
                                        [&](const Application& one) { return one.name == name; });
        if (found == applications.end()) {
            throw ScriptError{"Application can't be found."};
        }
        return specifierOf(in, found->open());
    });
}

JSObjectRef arrayOf(JSContextRef context, const std::vector<std::string>& texts) {
    auto* const array = JSObjectMakeArray(context, 0, nullptr, nullptr);
    for (std::size_t index = 0; index < texts.size(); ++index) {
        JSObjectSetPropertyAtIndex(context, array, static_cast<unsigned>(index),
                                   JSValueMakeString(context, ScriptString{texts[index]}.get()),
                                   nullptr);
    }
    return array;
}

/// Evaluates the script and returns its result. Throws Thrown and ScriptError.
std::string resultOf(const World& world, const std::string& source,
                     const std::vector<std::string>& arguments) {
    const JSContextRef context = world.context();
    JSValueRef result = world.evaluate(source);
    const JSValueRef run = world.evaluate("typeof run === 'function' ? run : undefined");
    if (JSValueIsObject(context, run)) {
        const JSValueRef given[] = {arrayOf(context, arguments)};
        result = checked(context, [&](JSValueRef* exception) {
            return JSObjectCallAsFunction(context, JSValueToObject(context, run, nullptr), nullptr,
                                          1, given, exception);
        });
    }
    if (JSValueIsUndefined(context, result)) {
        return "";
    }
    if (!JSValueIsString(context, result)) {
        throw wrongType();
    }
    return textOf(context, result);
}

Evaluation failure(const std::string& text, int number) {
    return {false, "Error: " + text + " (" + std::to_string(number) + ")", nullptr};
}

/// Returns the number that an error of ours, or of the script, carries.
int numberOf(JSContextRef context, JSValueRef thrown) {
    if (!JSValueIsObject(context, thrown)) {
        return ScriptError::general;
    }
    const JSValueRef number =
        propertyOf(context, JSValueToObject(context, thrown, nullptr), "errorNumber");
    const double value =
        JSValueIsNumber(context, number) ? JSValueToNumber(context, number, nullptr) : std::nan("");
    const bool isWhole = std::abs(value) < 1e9 && std::floor(value) == value;
    return isWhole ? static_cast<int>(value) : ScriptError::general;
}

Evaluation failure(JSContextRef context, JSValueRef thrown) {
    try {
        return failure(textOf(context, thrown), numberOf(context, thrown));
    } catch (const Thrown&) {
        return failure("", ScriptError::general); // the error cannot be shown
    }
}

Evaluation evaluate(const World& world, const std::string& source,
                    const std::vector<std::string>& arguments) {
    try {
        return {true, resultOf(world, source, arguments), nullptr};
    } catch (const Thrown& thrown) {
        return world.isExpired() ? failure("The script took too long.", timedOut)
                                 : failure(world.context(), thrown.value());
    } catch (const ScriptError& error) {
        return failure("Error: " + std::string{error.what()}, error.number());
    }
}

} // namespace

Evaluation evaluate(const std::string& source, const std::vector<std::string>& arguments,
                    const std::vector<Application>& applications) {
    const auto world = std::make_shared<World>();
    world->define("Application", makeApplicationFunction(world->context(), applications));
    Evaluation evaluation = evaluate(*world, source, arguments);
    evaluation.engine = world;
    return evaluation;
}

} // namespace velmiro::osascript
