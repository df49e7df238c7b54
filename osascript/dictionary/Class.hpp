#pragma once

#include "osascript/dictionary/Condition.hpp"
#include "osascript/dictionary/ScriptError.hpp"
#include "osascript/dictionary/Value.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

/// How an application describes its objects to scripts: a table for each class, whose functions may
/// throw ScriptError. Any other exception becomes an error of the script with its message.
namespace velmiro::osascript {

struct Property {
    std::string_view name;
    Value (*read)(Object& self);

    /// Null if scripts cannot change it.
    void (*write)(Object& self, const Value& value) = nullptr;

    /// Whether reading costs nothing. A filter asks for such properties first.
    bool isKnown = false;

    /// Decides a condition without reading the property; nullopt if it must be read. Optional.
    std::optional<bool> (*decide)(Object& self, const Condition& condition) = nullptr;
};

using Objects = std::vector<ObjectPointer>;

struct Elements {
    std::string_view name;
    const Class* type;

    /// Returns all elements, in any order.
    Objects (*all)(Object& self);

    /// Puts elements in the order in which scripts see them. May drop those that are gone. Optional.
    void (*arrange)(Objects& elements) = nullptr;

    /// Adds a new object of the class. Null if scripts cannot.
    void (*push)(Object& self, const ObjectPointer& element) = nullptr;

    /// Returns a superset of the elements whose property has this value, if that costs less than
    /// `all`; nullopt otherwise. Optional.
    std::optional<Objects> (*find)(Object& self, std::string_view property,
                                   const Value& value) = nullptr;
};

struct Command {
    std::string_view name;
    void (*run)(Object& self);
};

/// Creates an object that is nowhere yet: `Notes.Note({…})`.
struct Constructor {
    std::string_view name;
    ObjectPointer (*make)();
};

struct Class {
    std::vector<Property> properties = {};
    std::vector<Elements> elements = {};
    std::vector<Command> commands = {};
    std::vector<Constructor> constructors = {};
};

/// Returns the entry of a table with that name; null if there is none.
template <typename Table>
const typename Table::value_type* entryNamed(const Table& table, std::string_view name) {
    for (const auto& entry : table) {
        if (entry.name == name) {
            return &entry;
        }
    }
    return nullptr;
}

// Makes the functions of a table out of members, so that a table reads
// `{.name = "subject", .read = reading<&Message::subject>}`.

template <typename Member>
struct OwnerOf;
template <typename Owner, typename Type>
struct OwnerOf<Type Owner::*> {
    using type = Owner;
};

/// Reads what the member function or variable of the object's C++ class holds.
template <auto member>
Value reading(Object& self) {
    using Owner = typename OwnerOf<decltype(member)>::type;
    return Value{std::invoke(member, static_cast<Owner&>(self))};
}

/// Assigns a text to a member variable of type std::string.
template <auto member>
void writingText(Object& self, const Value& value) {
    using Owner = typename OwnerOf<decltype(member)>::type;
    const auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) {
        throw wrongType();
    }
    static_cast<Owner&>(self).*member = *text;
}

} // namespace velmiro::osascript
