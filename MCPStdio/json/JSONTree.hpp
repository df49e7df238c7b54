#pragma once

#include "MCPStdio/json/JSONMemory.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/ByteScan.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace MCPStdio {

/// A tree under construction, on one thread: a stack of the elements of all arrays and objects that
/// are still open. Closing one takes its elements off the end, so each array and object gets its
/// memory once, at its final size.
///
/// The tree's content is in one JSONMemory: building and freeing `event records` takes half of the
/// time that an allocation for each piece does.
class JSONTree {
public:
    /// `likelySize` is about the size of the tree in bytes.
    explicit JSONTree(std::size_t likelySize) noexcept : likelySize_{likelySize} {}
    JSONTree(const JSONTree&) = delete;
    JSONTree& operator=(const JSONTree&) = delete;
    ~JSONTree() {
        if (memory_ != nullptr) {
            memory_->release();
        }
    }

    // Each pushes one element. All may throw std::bad_alloc.
    void pushNull() { push(JSONValue::wordsOf(JSONValue::Case::null, 0)); }
    void pushBool(bool value) { push(JSONValue::wordsOf(JSONValue::Case::boolean, value ? 1 : 0)); }
    void pushNumber(double value) {
        push(JSONValue::wordsOf(JSONValue::Case::number, std::bit_cast<std::uint64_t>(value)));
    }
    /// Pushes a text of the first `size` bytes of a block, fewer than sixteen.
    void pushShortText(ByteBlock block, std::size_t size) {
        auto words = std::bit_cast<JSONValue::Words>(firstBytes(block, size));
        words[1] |=
            size << JSONValue::lengthShift | JSONValue::wordsOf(JSONValue::Case::string, 0)[1];
        push(words);
    }
    void pushText(std::string_view text);

    /// Texts from this size on are written into the string that `pushLongText` returns, shorter ones
    /// into the room that `roomForText` returns.
    static constexpr std::size_t longText = JSONValue::longText;
    [[nodiscard]] char* roomForText(std::size_t size) { return memory().allocate(size); }
    /// Pushes the text that was written into the room that was returned last.
    void pushTextIn(char* room, std::size_t size);
    [[nodiscard]] std::string& pushLongText();

    /// The number of elements in all open arrays and objects. A member counts as two: its key, then
    /// its value.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    /// Replaces all elements from `first` on with the array or object of them. The last of several
    /// members with the same key is kept.
    void closeArray(std::size_t first);
    void closeObject(std::size_t first);

    /// Returns the only element that is left. Called once.
    [[nodiscard]] JSONValue finish();

private:
    using Words = JSONValue::Words;

    static ByteBlock firstBytes(ByteBlock block, std::size_t count) noexcept;
    void push(Words words) {
        if (size_ == capacity_) {
            grow();
        }
        elements_[size_] = words;
        ++size_;
    }
    void grow();
    JSONMemory& memory() {
        if (memory_ == nullptr) {
            memory_ = JSONMemory::make(likelySize_);
        }
        return *memory_;
    }
    template <typename Element>
    JSONValue::Block<Element>* makeBlock(std::size_t capacity);
    void replace(std::size_t first, JSONValue::Case kind, void* block);

    static constexpr std::size_t firstCapacity = 32; // enough for most messages

    std::size_t likelySize_;
    JSONMemory* memory_ = nullptr; ///< none before something needs it
    std::array<Words, firstCapacity> firstElements_;
    std::unique_ptr<Words[]> moreElements_; ///< instead of the first ones
    Words* elements_ = firstElements_.data();
    std::size_t size_ = 0;
    std::size_t capacity_ = firstCapacity;
};

/// Returns a block whose bytes from `count` on are zero.
inline ByteBlock JSONTree::firstBytes(ByteBlock block, std::size_t count) noexcept {
    static constexpr auto mask = [] {
        std::array<char, 2 * sizeof(ByteBlock)> bytes{};
        for (std::size_t i = 0; i < sizeof(ByteBlock); ++i) {
            bytes[i] = '\xFF';
        }
        return bytes;
    }();
    return block & loadBlock(mask.data() + sizeof(ByteBlock) - count);
}

} // namespace MCPStdio
