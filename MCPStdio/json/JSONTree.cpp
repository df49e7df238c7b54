#include "MCPStdio/json/JSONTree.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <vector>

namespace MCPStdio {

void JSONTree::grow() {
    std::unique_ptr<Words[]> larger{new Words[2 * capacity_]};
    std::copy_n(elements_, size_, larger.get());
    moreElements_ = std::move(larger);
    elements_ = moreElements_.get();
    capacity_ *= 2;
}

void JSONTree::pushText(std::string_view text) {
    if (text.size() <= JSONValue::longestInline) {
        push(JSONValue::inlineWords(text));
    } else if (text.size() < longText) {
        char* const room = roomForText(text.size());
        std::memcpy(room, text.data(), text.size());
        pushTextIn(room, text.size());
    } else {
        pushLongText().assign(text);
    }
}

void JSONTree::pushTextIn(char* room, std::size_t size) {
    if (size <= JSONValue::longestInline) {
        push(JSONValue::inlineWords({room, size}));
        size = 0;
    } else {
        push(JSONValue::wordsOf(JSONValue::Case::string, reinterpret_cast<std::uintptr_t>(room),
                                JSONValue::blockFlag | JSONValue::pooledFlag | size));
    }
    memory_->shrink(room, size);
}

std::string& JSONTree::pushLongText() {
    std::string& text = memory().addText();
    push(JSONValue::wordsOf(JSONValue::Case::string, reinterpret_cast<std::uintptr_t>(&text),
                            JSONValue::blockFlag | JSONValue::longFlag | JSONValue::pooledFlag));
    return text;
}

template <typename Element>
JSONValue::Block<Element>* JSONTree::makeBlock(std::size_t capacity) {
    using Block = JSONValue::Block<Element>;
    auto* const block =
        new (memory().allocate(sizeof(Block) + capacity * sizeof(Element))) Block{capacity, {}};
    block->memory = memory_;
    return block;
}

/// Replaces all elements from `first` on with an array or object, which is empty without a block.
void JSONTree::replace(std::size_t first, JSONValue::Case kind, void* block) {
    size_ = first;
    push(JSONValue::wordsOf(kind, reinterpret_cast<std::uintptr_t>(block),
                            block == nullptr ? 0 : JSONValue::blockFlag | JSONValue::pooledFlag));
}

void JSONTree::closeArray(std::size_t first) {
    if (first == size_) {
        replace(first, JSONValue::Case::array, nullptr);
        return;
    }
    auto* const block = makeBlock<JSONValue>(size_ - first);
    std::memcpy(static_cast<void*>(block->elements()), elements_ + first,
                (size_ - first) * sizeof(Words));
    replace(first, JSONValue::Case::array, block);
}

namespace {

/// Moves a member to its place among sorted ones, searched from the end, where most belong. If its
/// key is there already, replaces the value. Returns how many there are then.
template <typename Member, typename Compare>
std::size_t insert(Member* sorted, std::size_t count, Member added, Compare compare) {
    std::size_t at = count;
    for (; at > 0; --at) {
        const auto compared = compare(sorted[at - 1][0], added[0]);
        if (compared == 0) {
            sorted[at - 1] = added;
            return count;
        }
        if (compared < 0) {
            break;
        }
    }
    for (std::size_t i = count; i > at; --i) {
        sorted[i] = sorted[i - 1];
    }
    sorted[at] = added;
    return count + 1;
}

} // namespace

void JSONTree::closeObject(std::size_t first) {
    if (first == size_) {
        replace(first, JSONValue::Case::object, nullptr);
        return;
    }
    using Member = std::array<Words, 2>; // a key and its value
    static_assert(sizeof(Member) == sizeof(JSONMember));
    const std::size_t count = (size_ - first) / 2;
    auto* const block = makeBlock<JSONMember>(count);
    auto* const sorted = reinterpret_cast<Member*>(block->elements());
    const auto member = [&](std::size_t i) {
        return Member{elements_[first + 2 * i], elements_[first + 2 * i + 1]};
    };
    std::size_t kept = 0;
    // Nearly all objects have no more. `tools list` takes a fifth longer to read if these are
    // sorted like larger ones.
    constexpr std::size_t insertionSortLimit = 16;
    if (count <= insertionSortLimit) {
        for (std::size_t i = 0; i < count; ++i) {
            kept = insert(sorted, kept, member(i), [](const Words& left, const Words& right) {
                return JSONValue::compareTexts(left, right);
            });
        }
    } else {
        // Members with equal keys become neighbours, in the order of the text: the last is kept.
        std::vector<std::size_t> order(count);
        for (std::size_t i = 0; i < count; ++i) {
            order[i] = i;
        }
        const auto compare = [&](std::size_t left, std::size_t right) {
            return JSONValue::compareTexts(elements_[first + 2 * left],
                                           elements_[first + 2 * right]);
        };
        std::ranges::sort(order, [&](std::size_t left, std::size_t right) {
            const auto compared = compare(left, right);
            return compared < 0 || (compared == 0 && left < right);
        });
        for (std::size_t i = 0; i < count; ++i) {
            if (i + 1 == count || compare(order[i], order[i + 1]) != 0) {
                sorted[kept] = member(order[i]);
                ++kept;
            }
        }
    }
    block->size = kept;
    replace(first, JSONValue::Case::object, block);
}

JSONValue JSONTree::finish() {
    JSONValue root;
    root.words_ = elements_[0];
    if (root.kind() >= JSONValue::Case::array && root.hasBlock()) {
        root.words_[1] |= JSONValue::rootFlag;
        memory_ = nullptr; // its share is the root's
        return root;
    }
    return root.takeOut();
}

} // namespace MCPStdio
