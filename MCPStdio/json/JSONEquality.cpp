#include "MCPStdio/json/JSONValue.hpp"

#include <algorithm>
#include <bit>

namespace MCPStdio {

bool operator==(const JSONValue& left, const JSONValue& right) noexcept {
    if (left.kind() != right.kind()) {
        return false;
    }
    switch (left.kind()) {
    case JSONValue::Case::null:
        return true;
    case JSONValue::Case::boolean:
        return left.boolValue() == right.boolValue();
    case JSONValue::Case::number:
        return left.doubleValue() == right.doubleValue();
    case JSONValue::Case::string:
        return left.stringValue() == right.stringValue();
    case JSONValue::Case::array:
        return std::ranges::equal(*left.arrayValue(), *right.arrayValue());
    case JSONValue::Case::object:
        // Members are sorted: equal objects have them in the same order.
        return std::ranges::equal(*left.objectValue(), *right.objectValue(),
                                  [](const JSONMember& a, const JSONMember& b) {
                                      return a.key() == b.key() && a.value == b.value;
                                  });
    }
    return false;
}

std::size_t JSONValue::hash() const noexcept {
    const auto mix = [](std::size_t seed, std::size_t part) {
        return std::rotl(seed ^ part, 23) * std::size_t{0x9E3779B97F4A7C15U};
    };
    std::size_t result = mix(0, static_cast<std::size_t>(kind()));
    switch (kind()) {
    case Case::null:
        break;
    case Case::boolean:
        result = mix(result, *boolValue() ? 1 : 0);
        break;
    case Case::number:
        // Adding zero turns -0.0 into +0.0, which equals it.
        result = mix(result, std::bit_cast<std::uint64_t>(*doubleValue() + 0.0));
        break;
    case Case::string:
        result = mix(result, std::hash<std::string_view>{}(*stringValue()));
        break;
    case Case::array:
        for (const auto elements = *arrayValue(); const JSONValue& element : elements) {
            result = mix(result, element.hash());
        }
        break;
    case Case::object:
        for (const auto members = *objectValue(); const JSONMember& member : members) {
            result = mix(mix(result, member.name.hash()), member.value.hash());
        }
        break;
    }
    return result;
}

} // namespace MCPStdio
