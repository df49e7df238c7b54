#include "MCPStdio/json/JSONValue.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace MCPStdio {

template <typename Element>
JSONValue::Block<Element>* JSONValue::Block<Element>::make(std::size_t capacity) {
    void* memory = ::operator new(sizeof(Block) + capacity * sizeof(Element));
    return new (memory) Block{0, capacity};
}

template <typename Element>
void JSONValue::Block<Element>::destroy(Block* block) noexcept {
    if (block != nullptr) {
        std::destroy_n(block->elements(), block->size);
        ::operator delete(block);
    }
}

template <typename Element>
JSONValue::Block<Element>* JSONValue::Block<Element>::copy(Block* other) {
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

/// Returns the block if it has room for one more element; otherwise a larger one that replaces it.
template <typename Element>
JSONValue::Block<Element>* JSONValue::Block<Element>::grown(Block* block) {
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

/// Returns the words of a string that is stored inside the value.
std::array<std::uint64_t, 2> JSONValue::inlineWords(std::string_view text) noexcept {
    const std::size_t size = text.size();
    const std::size_t first = std::min<std::size_t>(size, 8);
    return {loadShort(text.data(), first),
            loadShort(text.data() + first, size - first) | size << lengthShift |
                std::uint64_t{static_cast<unsigned char>(Case::string)} << caseShift};
}

JSONValue::JSONValue(std::string_view text) {
    const std::size_t size = text.size();
    if (size <= longestInline) {
        words_ = inlineWords(text);
        return;
    }
    if (size >= longText) {
        *this = JSONValue{std::string{text}};
        return;
    }
    auto* characters = Block<char>::make(size);
    std::memcpy(characters->elements(), text.data(), size);
    characters->size = size;
    set(Case::string);
    setBlock(characters);
    words_[1] |= blockFlag;
}

JSONValue::JSONValue(std::string&& text) {
    if (text.size() < longText) {
        *this = JSONValue{std::string_view{text}};
        return;
    }
    auto* const string = new std::string{std::move(text)};
    set(Case::string);
    words_[0] = reinterpret_cast<std::uintptr_t>(string);
    words_[1] |= blockFlag | longFlag;
}

JSONValue::JSONValue(char32_t scalar) {
    std::string text;
    appendUTF8(text, scalar);
    *this = JSONValue{std::string_view{text}};
}

JSONValue::JSONValue(const JSONValue& other) : words_{other.words_} {
    if (!other.ownsBlock()) {
        return;
    }
    // Until it has a block of its own, this value must not appear to own the other's.
    words_ = {};
    if (other.isLongText()) {
        *this = JSONValue{std::string{*other.longString()}};
        return;
    }
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
    words_[1] = other.words_[1];
}

JSONValue& JSONValue::operator=(const JSONValue& other) {
    if (this != &other) {
        *this = JSONValue{other};
    }
    return *this;
}

JSONValue& JSONValue::operator=(JSONValue&& other) noexcept {
    // The old content is destroyed last: `other` may be a part of it.
    auto old = std::exchange(words_, std::exchange(other.words_, {}));
    JSONValue doomed;
    doomed.words_ = old;
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
        if (isLongText()) {
            delete longString();
        } else {
            Block<char>::destroy(block<char>());
        }
        break;
    }
}

std::optional<std::string> JSONValue::stringValue() && {
    if (kind() != Case::string) {
        return std::nullopt;
    }
    return isLongText() ? std::move(*longString()) : std::string{text()};
}

JSONValue JSONValue::arrayOf(std::span<JSONValue> elements) {
    JSONValue result;
    result.set(Case::array);
    if (!elements.empty()) {
        auto* store = Block<JSONValue>::make(elements.size());
        std::uninitialized_move(elements.begin(), elements.end(), store->elements());
        store->size = elements.size();
        result.setBlock(store);
    }
    return result;
}

JSONValue JSONValue::object(std::initializer_list<NewMember> members) {
    JSONValue result;
    result.set(Case::object);
    for (const NewMember& member : members) {
        result.set(member.key, std::move(member.value));
    }
    return result;
}

/// Compares two strings by their bytes. Inlined into the loops that call it a few times per object.
[[gnu::always_inline]] inline std::strong_ordering
JSONValue::compareTexts(const JSONValue& left, const JSONValue& right) noexcept {
    if (left.ownsBlock() || right.ownsBlock()) {
        return left.text() <=> right.text();
    }
    // Both are stored inside their values, padded with zeros, with the length last: as big-endian
    // numbers they have the same order.
    const auto first = __builtin_bswap64(left.words_[0]) <=> __builtin_bswap64(right.words_[0]);
    return first != 0 ? first
                      : __builtin_bswap64(left.words_[1]) <=> __builtin_bswap64(right.words_[1]);
}

JSONValue JSONValue::objectOf(std::span<JSONValue> keysAndValues) {
    JSONValue result;
    result.set(Case::object);
    if (keysAndValues.empty()) {
        return result;
    }
    const std::size_t count = keysAndValues.size() / 2;
    auto* store = Block<JSONMember>::make(count);
    result.setBlock(store);
    constexpr std::size_t insertionSortLimit = 16; // nearly all objects have no more
    if (count <= insertionSortLimit) {
        for (std::size_t i = 0; i < keysAndValues.size(); i += 2) {
            insert(*store, keysAndValues[i], keysAndValues[i + 1]);
        }
        return result;
    }
    std::vector<JSONValue*> keys(count);
    for (std::size_t i = 0; i < count; ++i) {
        keys[i] = &keysAndValues[2 * i];
    }
    // Equal keys become neighbours, in the order of their addresses, which is that of the text: the
    // last one is kept.
    std::ranges::sort(keys, [](const JSONValue* left, const JSONValue* right) {
        const auto compared = compareTexts(*left, *right);
        return compared < 0 || (compared == 0 && left < right);
    });
    for (std::size_t i = 0; i < count; ++i) {
        if (i + 1 == count || compareTexts(*keys[i], *keys[i + 1]) != 0) {
            new (store->elements() + store->size)
                JSONMember{std::move(keys[i][0]), std::move(keys[i][1])};
            ++store->size;
        }
    }
    return result;
}

/// Moves a member to its place among sorted ones, searched from the end, where most belong. If its
/// key is there already, replaces the value.
void JSONValue::insert(Block<JSONMember>& sorted, JSONValue& key, JSONValue& value) noexcept {
    JSONMember* const members = sorted.elements();
    std::size_t at = sorted.size;
    for (; at > 0; --at) {
        const auto compared = compareTexts(members[at - 1].name, key);
        if (compared == 0) {
            members[at - 1].value = std::move(value);
            return;
        }
        if (compared < 0) {
            break;
        }
    }
    for (std::size_t i = sorted.size; i > at; --i) {
        new (members + i) JSONMember{std::move(members[i - 1])};
        std::destroy_at(members + i - 1);
    }
    new (members + at) JSONMember{std::move(key), std::move(value)};
    ++sorted.size;
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
    const auto members = items<JSONMember>();
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
    const auto members = objectValue().value_or(std::span<const JSONMember>{});
    constexpr std::size_t linearSearchLimit = 8;
    if (members.size() <= linearSearchLimit && key.size() <= longestInline) {
        // Short names are equal if their words are; no long name has such words.
        const auto wanted = inlineWords(key);
        const auto at = std::ranges::find(
            members, wanted, [](const JSONMember& member) { return member.name.words_; });
        return at == members.end() ? nullptr : &at->value;
    }
    const auto at = std::ranges::lower_bound(members, key, {}, &JSONMember::key);
    return at != members.end() && at->key() == key ? &at->value : nullptr;
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

} // namespace MCPStdio
