#include "MCPStdio/json/JSONValue.hpp"

#include "MCPStdio/json/JSONMemory.hpp"
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
    return new (memory) Block{0, {capacity}};
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
JSONValue::Words JSONValue::inlineWords(std::string_view text) noexcept {
    auto words = std::bit_cast<Words>(blockAt(text, 0));
    words[1] |= text.size() << lengthShift | wordsOf(Case::string, 0)[1];
    return words;
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
    setCharacters(text);
}

/// Sets a string whose characters are on the heap.
void JSONValue::setCharacters(std::string_view text) {
    void* const characters = ::operator new(text.size());
    std::memcpy(characters, text.data(), text.size());
    words_ = wordsOf(Case::string, reinterpret_cast<std::uintptr_t>(characters),
                     blockFlag | text.size());
}

JSONValue::JSONValue(std::string&& text) {
    if (text.size() < longText) {
        *this = JSONValue{std::string_view{text}};
        return;
    }
    auto* const string = new std::string{std::move(text)};
    words_ = wordsOf(Case::string, reinterpret_cast<std::uintptr_t>(string), blockFlag | longFlag);
}

JSONValue::JSONValue(char32_t scalar) {
    std::string text;
    appendUTF8(text, scalar);
    *this = JSONValue{std::string_view{text}};
}

JSONValue::JSONValue(const JSONValue& other) {
    if (!other.hasBlock()) {
        words_ = other.words_;
        return;
    }
    const auto copyBlock = [&](auto* block) {
        auto* const copied = block->copy(block);
        set(other.kind());
        setBlock(copied);
    };
    switch (other.kind()) {
    case Case::array:
        copyBlock(other.block<JSONValue>());
        break;
    case Case::object:
        copyBlock(other.block<JSONMember>());
        break;
    default:
        *this = JSONValue{other.text()};
        break;
    }
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
    if (has(pooledFlag)) {
        if (has(rootFlag)) {
            memory()->release();
        }
        return;
    }
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
            ::operator delete(reinterpret_cast<void*>(words_[0]));
        }
        break;
    }
}

/// Returns the memory of a pooled array or object.
JSONMemory* JSONValue::memory() const noexcept {
    return kind() == Case::array ? block<JSONValue>()->memory : block<JSONMember>()->memory;
}

/// Replaces content in a tree's memory with a copy that can grow. Returns what was replaced, to
/// which an argument of the caller may point.
JSONValue JSONValue::unpool() {
    JSONValue old;
    if (has(blockFlag | pooledFlag)) {
        JSONValue copy = std::as_const(*this);
        old = std::exchange(*this, std::move(copy));
    }
    return old;
}

void JSONValue::leaveTree() {
    constexpr std::size_t small = 4096;
    if (has(blockFlag | pooledFlag) && memory()->size() <= small) {
        unpool();
    }
}

/// Moves a value out of a tree, which it may outlive.
JSONValue JSONValue::takeOut() {
    if (!has(blockFlag | pooledFlag) || has(rootFlag)) {
        return std::move(*this);
    }
    JSONValue taken;
    if (isLongText()) {
        taken = JSONValue{std::move(*longString())};
    } else if (kind() == Case::string) {
        taken.setCharacters(text());
    } else {
        memory()->share();
        taken.words_ = {words_[0], words_[1] | rootFlag};
    }
    words_ = {};
    return taken;
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

void JSONValue::append(JSONValue element) {
    assert(kind() == Case::array);
    const JSONValue old = unpool();
    auto* store = Block<JSONValue>::grown(block<JSONValue>());
    setBlock(store);
    new (store->elements() + store->size) JSONValue{std::move(element)};
    ++store->size;
}

void JSONValue::set(std::string_view key, JSONValue value) {
    assert(kind() == Case::object);
    const JSONValue old = unpool();
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
    // The analyzer loses sight of the key's memory, whose address is kept as a number.
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

std::optional<JSONValue> JSONValue::take(std::string_view key) {
    const JSONValue* found = (*this)[key];
    // This value is not const, so neither are its members.
    return found == nullptr ? std::nullopt
                            : std::optional{const_cast<JSONValue*>(found)->takeOut()};
}

const JSONValue* JSONValue::operator[](std::string_view key) const noexcept {
    const auto members = objectValue().value_or(std::span<const JSONMember>{});
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
