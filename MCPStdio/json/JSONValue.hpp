#pragma once

#include <array>
#include <bit>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace MCPStdio {

class JSONMemory;
struct JSONMember;

/// Thrown if a JSON text cannot be read, a value cannot be written, or a value does not fit an
/// application type. `what()` says where and why.
class JSONError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A JSON value of any kind: null, bool, number (a double), string, array or object.
///
/// A value owns its whole tree: a copy shares nothing with it, and a moved-from value is null.
/// Strings are UTF-8, which constructors do not check. Members of an object are sorted by the bytes
/// of their keys. Views that accessors return are valid until their value is changed, moved or
/// destroyed. Distinct values may be used on distinct threads; several threads may read the same.
///
/// It takes sixteen bytes: short strings are stored inside it, all larger content on the heap. (If
/// they were not, `one request` would take 1.7 times as long to read, `tools list` 1.4 times.) What
/// is within a tree that was read is in a few pieces of memory, which are freed as one. They stay
/// as long as the tree or an array or object that was taken out of it.
class JSONValue {
public:
    enum class Case : std::uint8_t { null, boolean, number, string, array, object };

    /// A member in a call of `object`: `{key, value}`.
    struct NewMember;

    JSONValue() noexcept = default;
    JSONValue(std::nullptr_t) noexcept {}
    template <std::same_as<bool> Bool>
    JSONValue(Bool value) noexcept {
        set(Case::boolean, static_cast<std::uint64_t>(value));
    }
    template <std::integral Integer>
        requires(!std::same_as<Integer, bool> && !std::same_as<Integer, char> &&
                 !std::same_as<Integer, char32_t>)
    JSONValue(Integer value) noexcept : JSONValue(static_cast<double>(value)) {}
    template <std::floating_point Float>
    JSONValue(Float value) noexcept {
        set(Case::number, std::bit_cast<std::uint64_t>(static_cast<double>(value)));
    }
    JSONValue(std::string_view text);
    JSONValue(const char* text) : JSONValue(std::string_view{text}) {}
    JSONValue(const std::string& text) : JSONValue(std::string_view{text}) {}
    /// Takes over the memory of a long text; copies a short one.
    JSONValue(std::string&& text);
    /// A string of one ASCII character, or of one Unicode scalar value.
    JSONValue(char character) : JSONValue(std::string_view{&character, 1}) {}
    JSONValue(char32_t scalar);
    /// Keeps other pointers from converting to bool.
    JSONValue(const void*) = delete;

    JSONValue(const JSONValue& other);
    JSONValue(JSONValue&& other) noexcept : words_{std::exchange(other.words_, {})} {}
    JSONValue& operator=(const JSONValue& other);
    JSONValue& operator=(JSONValue&& other) noexcept;
    ~JSONValue() {
        if (hasBlock()) {
            destroyBlock();
        }
    }

    /// Returns an array of the given elements.
    template <std::convertible_to<JSONValue>... Elements>
    static JSONValue array(Elements&&... elements) {
        std::array<JSONValue, sizeof...(elements)> moved{
            JSONValue{std::forward<Elements>(elements)}...};
        return arrayOf(moved);
    }
    /// Returns an array into which all of `elements` are moved.
    static JSONValue arrayOf(std::span<JSONValue> elements);

    /// Returns an object of the given members. The last of equal keys wins.
    static JSONValue object(std::initializer_list<NewMember> members = {});

    /// Appends an element. This must be an array.
    void append(JSONValue element);
    /// Adds a member, or replaces the value of the one with this key. This must be an object.
    void set(std::string_view key, JSONValue value);
    /// Moves a member's value out and leaves null in its place; nullopt if there is no such member
    /// or this is not an object. Copies a short text out of a tree that was read.
    std::optional<JSONValue> take(std::string_view key);

    /// Gives up the memory of the tree that this was taken out of, by copying what it holds, if that
    /// memory is small. A value that is kept for long then keeps nothing else.
    void leaveTree();

    [[nodiscard]] Case kind() const noexcept {
        return static_cast<Case>(words_[1] >> caseShift & caseMask);
    }

    /// Returns a member's value; nullptr if there is no such member or this is not an object.
    [[nodiscard]] const JSONValue* operator[](std::string_view key) const noexcept;
    [[nodiscard]] const JSONValue* operator[](const char* key) const noexcept {
        return (*this)[std::string_view{key}];
    }
    /// Returns an element; nullptr if there is none at this index or this is not an array.
    template <std::integral Index>
    [[nodiscard]] const JSONValue* operator[](Index index) const noexcept {
        const auto elements = arrayValue().value_or(std::span<const JSONValue>{});
        const bool inside =
            std::cmp_greater_equal(index, 0) && std::cmp_less(index, elements.size());
        return inside ? elements.data() + index : nullptr;
    }

    /// Each returns the payload of its own case, and nullopt for every other case.
    [[nodiscard]] std::optional<std::string_view> stringValue() const& noexcept {
        return kind() == Case::string ? std::optional{text()} : std::nullopt;
    }
    /// For a value that is no longer needed: a long text is moved out, not copied.
    [[nodiscard]] std::optional<std::string> stringValue() &&;
    [[nodiscard]] std::optional<double> doubleValue() const noexcept {
        return kind() == Case::number ? std::optional{std::bit_cast<double>(words_[0])}
                                      : std::nullopt;
    }
    [[nodiscard]] std::optional<bool> boolValue() const noexcept {
        return kind() == Case::boolean ? std::optional{words_[0] != 0} : std::nullopt;
    }
    [[nodiscard]] std::optional<std::span<const JSONValue>> arrayValue() const noexcept {
        return kind() == Case::array ? std::optional{std::span<const JSONValue>{items<JSONValue>()}}
                                     : std::nullopt;
    }
    [[nodiscard]] std::optional<std::span<const JSONMember>> objectValue() const noexcept;
    [[nodiscard]] bool isNull() const noexcept { return kind() == Case::null; }

    /// Returns a number rounded to the nearest whole one, halves away from zero, or the value of a
    /// string of decimal digits with an optional sign; nullopt if that does not fit 64 bits, and
    /// for everything else.
    [[nodiscard]] std::optional<std::int64_t> intValue() const noexcept;

    /// Returns the compact text of the value; "null" if it cannot be written.
    [[nodiscard]] std::string jsonString() const;

    /// Reads one JSON text (see JSONReader.hpp). Throws JSONError.
    static JSONValue parse(std::string_view text);

    /// Returns the JSON form of an application value. Throws JSONError. Include JSONCoding.hpp for
    /// this and for `decode`.
    template <typename Value>
    static JSONValue encoding(const Value& value);
    /// Returns the application value of which this is the JSON form. Throws JSONError.
    template <typename Value>
    [[nodiscard]] Value decode() const;

    /// Equal if the cases are the same and the payloads are equal: numbers as doubles, objects as
    /// maps.
    friend bool operator==(const JSONValue& left, const JSONValue& right) noexcept;
    /// Equal values have equal hashes.
    [[nodiscard]] std::size_t hash() const noexcept;

private:
    friend class JSONTree;

    // Two words, so that a value is built and compared in registers. The low three bits of the
    // second word's highest byte are the case, the fourth is `blockFlag`. A short string fills the
    // bytes below, padded with zeros, and the four high bits are its length. Content that does not
    // fit sets `blockFlag`, and the first word is its address: the characters of a string, whose
    // size is in the low bits of the second word; a std::string if `longFlag` is set; or the Block
    // of an array or object, which has none if it is empty. A number or a bool is the first word.
    //
    // A tree that was read sets `pooledFlag` in all of its blocks, which are in one JSONMemory. Only
    // its root, which also sets `rootFlag`, holds a share of that: the values within are handed out
    // as const, and `take` makes a root of what it moves out.
    using Words = std::array<std::uint64_t, 2>;
    static_assert(std::endian::native ==
                  std::endian::little); // so that the bytes of a text are in order
    static constexpr unsigned caseShift = 56;
    static constexpr std::uint64_t caseMask = 0x07;
    static constexpr std::uint64_t blockFlag = std::uint64_t{0x08} << caseShift;
    static constexpr std::uint64_t longFlag = std::uint64_t{0x10} << caseShift;
    static constexpr std::uint64_t pooledFlag = std::uint64_t{0x20} << caseShift;
    static constexpr std::uint64_t rootFlag = std::uint64_t{0x40} << caseShift;
    static constexpr std::uint64_t sizeMask = (std::uint64_t{1} << caseShift) - 1;
    static constexpr unsigned lengthShift = caseShift + 4;
    static constexpr std::size_t longestInline = 15;
    /// The length from which a copy costs more than a second allocation.
    static constexpr std::size_t longText = 4096;

    /// The header of the content of an array or object: `size` elements follow it in the same
    /// allocation, with room for `capacity`; or, if it is pooled, for no more.
    template <typename Element>
    struct alignas(8) Block {
        std::size_t size;
        union {
            std::size_t capacity;
            JSONMemory* memory; ///< if it is pooled
        };

        [[nodiscard]] Element* elements() noexcept { return reinterpret_cast<Element*>(this + 1); }

        static Block* make(std::size_t capacity);
        static void destroy(Block* block) noexcept;
        static Block* copy(Block* other);
        static Block* grown(Block* block);
    };

    void set(Case value, std::uint64_t payload = 0) noexcept { words_ = wordsOf(value, payload); }
    static constexpr Words wordsOf(Case value, std::uint64_t payload,
                                   std::uint64_t flags = 0) noexcept {
        return {payload, flags | std::uint64_t{static_cast<unsigned char>(value)} << caseShift};
    }
    template <typename Element>
    void setBlock(Block<Element>* block) noexcept {
        words_[0] = reinterpret_cast<std::uintptr_t>(block);
        words_[1] |= blockFlag;
    }
    [[nodiscard]] bool has(std::uint64_t flags) const noexcept {
        return (words_[1] & flags) == flags;
    }
    [[nodiscard]] bool hasBlock() const noexcept { return has(blockFlag); }
    static Words inlineWords(std::string_view text) noexcept;
    void setCharacters(std::string_view text);
    void destroyBlock() noexcept;
    JSONValue unpool();
    [[nodiscard]] JSONValue takeOut();
    template <typename Element>
    [[nodiscard]] Block<Element>* block() const noexcept {
        return reinterpret_cast<Block<Element>*>(words_[0]);
    }
    template <typename Element>
    [[nodiscard]] std::span<Element> items() const noexcept {
        auto* const store = block<Element>();
        return store == nullptr ? std::span<Element>{}
                                : std::span<Element>{store->elements(), store->size};
    }
    [[nodiscard]] JSONMemory* memory() const noexcept;
    [[nodiscard]] bool isLongText() const noexcept {
        return kind() == Case::string && has(blockFlag | longFlag);
    }
    [[nodiscard]] std::string* longString() const noexcept {
        return reinterpret_cast<std::string*>(words_[0]);
    }
    [[nodiscard]] std::string_view text() const noexcept { return textOf(words_); }
    static std::string_view textOf(const Words& words) noexcept {
        if ((words[1] & blockFlag) == 0) {
            return {reinterpret_cast<const char*>(words.data()),
                    static_cast<std::size_t>(words[1] >> lengthShift)};
        }
        if ((words[1] & longFlag) != 0) {
            return *reinterpret_cast<const std::string*>(words[0]);
        }
        return {reinterpret_cast<const char*>(words[0]),
                static_cast<std::size_t>(words[1] & sizeMask)};
    }
    static std::strong_ordering compareTexts(const Words& left, const Words& right) noexcept;

    Words words_{};
};

static_assert(sizeof(JSONValue) == 16);

/// A member of an object. Its name is a string.
struct JSONMember {
    JSONValue name;
    JSONValue value;

    [[nodiscard]] std::string_view key() const noexcept {
        return name.stringValue().value_or(std::string_view{});
    }
};

/// Compares two strings by their bytes. Inlined into the loops that call it a few times per
/// object. `tools list` takes a seventh longer to read if all keys are compared as texts.
[[gnu::always_inline]] inline std::strong_ordering
JSONValue::compareTexts(const Words& left, const Words& right) noexcept {
    if (((left[1] | right[1]) & blockFlag) != 0) {
        return textOf(left) <=> textOf(right);
    }
    // Both are stored inside their values, padded with zeros, with the length last: as big-endian
    // numbers they have the same order.
    const auto first = __builtin_bswap64(left[0]) <=> __builtin_bswap64(right[0]);
    return first != 0 ? first : __builtin_bswap64(left[1]) <=> __builtin_bswap64(right[1]);
}

inline std::optional<std::span<const JSONMember>> JSONValue::objectValue() const noexcept {
    return kind() == Case::object ? std::optional{std::span<const JSONMember>{items<JSONMember>()}}
                                  : std::nullopt;
}

/// The value is mutable because initializer lists are const: it is moved out, not copied.
struct JSONValue::NewMember {
    std::string_view key;
    mutable JSONValue value;
};

} // namespace MCPStdio

template <>
struct std::hash<MCPStdio::JSONValue> {
    std::size_t operator()(const MCPStdio::JSONValue& value) const noexcept { return value.hash(); }
};
