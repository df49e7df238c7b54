#include "MCPStdio/JSONValue.hpp"

#include "MCPStdio/JSONReader.hpp"
#include "MCPStdio/JSONWriter.hpp"
#include "MCPStdio/UTF8.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

namespace MCPStdio {

/// What does not fit into the value itself: `size` elements, with room for `capacity`, right behind
/// this header in the same piece of memory.
template <typename Element>
struct alignas(8) JSONValue::Block {
    std::size_t size;
    std::size_t capacity;

    [[nodiscard]] Element* elements() noexcept { return reinterpret_cast<Element*>(this + 1); }
    [[nodiscard]] std::span<Element> span() noexcept { return {elements(), size}; }

    static Block* make(std::size_t capacity) {
        void* memory = ::operator new(sizeof(Block) + capacity * sizeof(Element));
        return new (memory) Block{0, capacity};
    }

    static void destroy(Block* block) noexcept {
        if (block != nullptr) {
            std::destroy_n(block->elements(), block->size);
            ::operator delete(block);
        }
    }

    static Block* copy(Block* other) {
        if (other == nullptr) {
            return nullptr;
        }
        Block* copied = make(other->size);
        try {
            std::uninitialized_copy_n(other->elements(), other->size, copied->elements());
        } catch (...) {
            ::operator delete(copied);
            throw;
        }
        copied->size = other->size;
        return copied;
    }

    /// Room for one more element at the end; gives back the block that has it.
    static Block* grown(Block* block) {
        if (block != nullptr && block->size < block->capacity) {
            return block;
        }
        Block* larger = make(block == nullptr ? 4 : block->capacity * 2);
        if (block != nullptr) {
            std::uninitialized_move_n(block->elements(), block->size, larger->elements());
            larger->size = block->size;
            destroy(block);
        }
        return larger;
    }
};

template <typename Element>
JSONValue::Block<Element>* JSONValue::block() const noexcept {
    Block<Element>* found = nullptr;
    std::memcpy(static_cast<void*>(&found), bytes_.data(), sizeof(Block<Element>*));
    return found;
}

template <typename Element>
void JSONValue::setBlock(Block<Element>* block) noexcept {
    std::memcpy(bytes_.data(), static_cast<const void*>(&block), sizeof(Block<Element>*));
}

void JSONValue::setNumber(double value) noexcept {
    std::memcpy(bytes_.data(), &value, sizeof value);
    setCase(Case::number);
}

JSONValue::JSONValue(std::string_view text) {
    if (text.size() < tagAt + 1) {
        std::copy(text.begin(), text.end(), bytes_.begin());
        bytes_[tagAt] = static_cast<unsigned char>(static_cast<unsigned>(Case::string) |
                                                   static_cast<unsigned>(text.size()) << 4U);
        return;
    }
    auto* made = Block<char>::make(text.size());
    std::memcpy(made->elements(), text.data(), text.size());
    made->size = text.size();
    setBlock(made);
    bytes_[tagAt] = static_cast<unsigned char>(static_cast<unsigned>(Case::string) | blockFlag);
}

JSONValue::JSONValue(char32_t scalar) {
    std::string text;
    appendUTF8(text, scalar);
    *this = JSONValue{std::string_view{text}};
}

JSONValue::JSONValue(const JSONValue& other) : bytes_{other.bytes_} {
    if (!other.ownsBlock()) {
        return;
    }
    // Until its own block is made this value must not look as if it owned the other's.
    bytes_ = {};
    switch (other.kind()) {
    case Case::array:
        setBlock(Block<JSONValue>::copy(other.block<JSONValue>()));
        break;
    case Case::object:
        setBlock(Block<JSONMember>::copy(other.block<JSONMember>()));
        break;
    default:
        setBlock(Block<char>::copy(other.block<char>()));
        break;
    }
    bytes_[tagAt] = other.bytes_[tagAt];
}

JSONValue& JSONValue::operator=(const JSONValue& other) {
    if (this != &other) {
        *this = JSONValue{other};
    }
    return *this;
}

JSONValue& JSONValue::operator=(JSONValue&& other) noexcept {
    // The old content goes last: `other` may lie inside it.
    auto old = std::exchange(bytes_, std::exchange(other.bytes_, {}));
    JSONValue doomed;
    doomed.bytes_ = old;
    return *this;
}

void JSONValue::destroyBlock() noexcept {
    switch (kind()) {
    case Case::array:
        Block<JSONValue>::destroy(block<JSONValue>());
        break;
    case Case::object:
        Block<JSONMember>::destroy(block<JSONMember>());
        break;
    default:
        Block<char>::destroy(block<char>());
        break;
    }
}

JSONValue JSONValue::arrayOf(std::span<JSONValue> elements) {
    JSONValue made;
    made.setCase(Case::array);
    if (!elements.empty()) {
        auto* store = Block<JSONValue>::make(elements.size());
        std::uninitialized_move(elements.begin(), elements.end(), store->elements());
        store->size = elements.size();
        made.setBlock(store);
    }
    return made;
}

JSONValue JSONValue::object(std::initializer_list<NewMember> members) {
    JSONValue made;
    made.setCase(Case::object);
    for (const NewMember& member : members) {
        made.set(member.key, std::move(member.value));
    }
    return made;
}

JSONValue JSONValue::objectOf(std::span<JSONValue> keysAndValues) {
    JSONValue made;
    made.setCase(Case::object);
    if (keysAndValues.empty()) {
        return made;
    }
    const auto keyOf = [](const JSONValue* key) { return *key->stringValue(); };
    const std::size_t count = keysAndValues.size() / 2;
    auto* store = Block<JSONMember>::make(count);
    made.setBlock(store);
    const auto add = [store](JSONValue* key) {
        new (store->elements() + store->size) JSONMember{std::move(key[0]), std::move(key[1])};
        ++store->size;
    };
    bool sorted = true;
    for (std::size_t i = 2; i < keysAndValues.size() && sorted; i += 2) {
        sorted = keyOf(&keysAndValues[i - 2]) < keyOf(&keysAndValues[i]);
    }
    if (sorted) {
        for (std::size_t i = 0; i < keysAndValues.size(); i += 2) {
            add(&keysAndValues[i]);
        }
        return made;
    }
    std::vector<JSONValue*> order(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = &keysAndValues[2 * i];
    }
    std::ranges::sort(order, [&](const JSONValue* left, const JSONValue* right) {
        const auto compared = keyOf(left) <=> keyOf(right);
        return compared < 0 || (compared == 0 && left < right);
    });
    // Equal keys are neighbours now, in the order in which they came: the last one stays.
    for (std::size_t i = 0; i < count; ++i) {
        if (i + 1 == count || keyOf(order[i]) != keyOf(order[i + 1])) {
            add(order[i]);
        }
    }
    return made;
}

void JSONValue::append(JSONValue element) {
    assert(kind() == Case::array);
    auto* store = Block<JSONValue>::grown(block<JSONValue>());
    setBlock(store);
    new (store->elements() + store->size) JSONValue{std::move(element)};
    ++store->size;
}

void JSONValue::set(std::string_view key, JSONValue value) {
    assert(kind() == Case::object);
    auto* store = block<JSONMember>();
    const auto members = store == nullptr ? std::span<JSONMember>{} : store->span();
    const auto at = std::ranges::lower_bound(members, key, {}, &JSONMember::key);
    if (at != members.end() && at->key() == key) {
        at->value = std::move(value);
        return;
    }
    const auto index = at - members.begin();
    JSONMember added{JSONValue{key}, std::move(value)};
    store = Block<JSONMember>::grown(store);
    setBlock(store);
    auto* end = new (store->elements() + store->size) JSONMember{std::move(added)};
    ++store->size;
    std::rotate(store->elements() + index, end, end + 1);
}

std::optional<JSONValue> JSONValue::take(std::string_view key) {
    const JSONValue* found = (*this)[key];
    // This value is not const, so neither are its members.
    return found == nullptr ? std::nullopt
                            : std::optional{std::move(const_cast<JSONValue&>(*found))};
}

const JSONValue* JSONValue::operator[](std::string_view key) const noexcept {
    const auto members = objectValue();
    if (!members) {
        return nullptr;
    }
    const auto at = std::ranges::lower_bound(*members, key, {}, &JSONMember::key);
    return at != members->end() && at->key() == key ? &at->value : nullptr;
}

std::optional<std::string_view> JSONValue::stringValue() const noexcept {
    if (kind() != Case::string) {
        return std::nullopt;
    }
    if (ownsBlock()) {
        auto* text = block<char>();
        return std::string_view{text->elements(), text->size};
    }
    return std::string_view{reinterpret_cast<const char*>(bytes_.data()),
                            static_cast<std::size_t>(bytes_[tagAt] >> 4U)};
}

std::optional<double> JSONValue::doubleValue() const noexcept {
    if (kind() != Case::number) {
        return std::nullopt;
    }
    double value = 0;
    std::memcpy(&value, bytes_.data(), sizeof value);
    return value;
}

std::optional<bool> JSONValue::boolValue() const noexcept {
    if (kind() != Case::boolean) {
        return std::nullopt;
    }
    return bytes_[0] != 0;
}

std::optional<std::span<const JSONValue>> JSONValue::arrayValue() const noexcept {
    if (kind() != Case::array) {
        return std::nullopt;
    }
    auto* store = block<JSONValue>();
    return store == nullptr ? std::span<const JSONValue>{} : store->span();
}

std::optional<std::span<const JSONMember>> JSONValue::objectValue() const noexcept {
    if (kind() != Case::object) {
        return std::nullopt;
    }
    auto* store = block<JSONMember>();
    return store == nullptr ? std::span<const JSONMember>{} : store->span();
}

std::optional<std::int64_t> JSONValue::intValue() const noexcept {
    if (const auto number = doubleValue()) {
        constexpr double limit = 0x1p63;
        const double rounded = std::round(*number);
        if (!(rounded >= -limit && rounded < limit)) { // NaN fails both comparisons
            return std::nullopt;
        }
        return static_cast<std::int64_t>(rounded);
    }
    auto text = stringValue().value_or(std::string_view{});
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t whole = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, whole);
    if (text.empty() || error != std::errc{} || stopped != end) {
        return std::nullopt;
    }
    return whole;
}

std::string JSONValue::jsonString() const {
    try {
        return compactEncoder().write(*this);
    } catch (const JSONError&) {
        return "null";
    }
}

JSONValue JSONValue::parse(std::string_view text) {
    return JSONReader{text}.read();
}

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
        // Members lie sorted, so equal maps lie equally.
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
        // Adding zero makes -0.0, which equals it, +0.0.
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
