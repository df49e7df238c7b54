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

struct JSONMember;

/// A JSON text could not be read, a value could not be written, or an application type could not be
/// made from a value. `what()` says where and why.
class JSONError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The one dynamic JSON type: null, bool, number (a double), string, array or object.
///
/// A value owns all that is in it; a copy is a copy of the whole tree and shares nothing. A moved
/// value is null. Strings are UTF-8. Members of an object lie sorted by the bytes of their keys.
/// Views that accessors give hold until the value they came from is changed, moved or destroyed.
/// Distinct values may be used on distinct threads; reading one from several threads is safe.
///
/// It is sixteen bytes wide: short strings lie inside it, everything else in one block of its own.
class JSONValue {
public:
    enum class Case : std::uint8_t { null, boolean, number, string, array, object };

    /// A member as it is written in a call of `object`.
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
    /// Takes a long text over as it is.
    JSONValue(std::string&& text);
    /// One character or one Unicode scalar value: a string of it.
    JSONValue(char character) : JSONValue(std::string_view{&character, 1}) {}
    JSONValue(char32_t scalar);
    /// A pointer is not a truth value.
    JSONValue(const void*) = delete;

    JSONValue(const JSONValue& other);
    JSONValue(JSONValue&& other) noexcept : words_{std::exchange(other.words_, {})} {}
    JSONValue& operator=(const JSONValue& other);
    JSONValue& operator=(JSONValue&& other) noexcept;
    ~JSONValue() {
        if (ownsBlock()) {
            destroyBlock();
        }
    }

    /// An array of the elements given; `array()` is the empty one.
    template <std::convertible_to<JSONValue>... Elements>
    static JSONValue array(Elements&&... elements) {
        std::array<JSONValue, sizeof...(elements)> moved{
            JSONValue{std::forward<Elements>(elements)}...};
        return arrayOf(moved);
    }
    /// An array into which all of `elements` are moved.
    static JSONValue arrayOf(std::span<JSONValue> elements);

    /// An object of the members given; where a key is repeated the later value wins.
    static JSONValue object(std::initializer_list<NewMember> members = {});
    /// An object of keys and values that take turns in `keysAndValues`, all moved out of it; the
    /// keys are strings and their number is that of the values. The later of equal keys wins.
    static JSONValue objectOf(std::span<JSONValue> keysAndValues);

    /// Puts a value behind the last element. The value must be an array.
    void append(JSONValue element);
    /// Adds a member or replaces the one that has this key. The value must be an object.
    void set(std::string_view key, JSONValue value);
    /// Moves a member out of an object and leaves null in its place; nothing where there is none.
    std::optional<JSONValue> take(std::string_view key);

    [[nodiscard]] Case kind() const noexcept {
        return static_cast<Case>(words_[1] >> caseShift & caseMask);
    }

    /// The member of an object, or null when there is no such member or this is no object.
    [[nodiscard]] const JSONValue* operator[](std::string_view key) const noexcept;
    [[nodiscard]] const JSONValue* operator[](const char* key) const noexcept {
        return (*this)[std::string_view{key}];
    }
    /// The element of an array, or null when there is none at this index or this is no array.
    template <std::integral Index>
    [[nodiscard]] const JSONValue* operator[](Index index) const noexcept {
        const auto elements = arrayValue().value_or(std::span<const JSONValue>{});
        const bool inside =
            std::cmp_greater_equal(index, 0) && std::cmp_less(index, elements.size());
        return inside ? elements.data() + index : nullptr;
    }

    /// Each gives the payload of its own case, and nothing for every other case.
    [[nodiscard]] std::optional<std::string_view> stringValue() const& noexcept {
        return kind() == Case::string ? std::optional{text()} : std::nullopt;
    }
    /// From a value that is no longer needed; a long text is moved out, not copied.
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

    /// A number rounded to the nearest whole number, halves away from zero, or a string that is an
    /// optional sign and decimal digits only; nothing where that does not fit 64 bits, and for
    /// every other case.
    [[nodiscard]] std::optional<std::int64_t> intValue() const noexcept;

    /// The compact text of the value; "null" where it cannot be written.
    [[nodiscard]] std::string jsonString() const;

    /// Reads one JSON text. Throws JSONError.
    static JSONValue parse(std::string_view text);

    /// The value that stands for an application value (see JSONCoding.hpp, which defines both).
    /// Throws JSONError.
    template <typename Value>
    static JSONValue encoding(const Value& value);
    /// The application value that this value stands for. Throws JSONError.
    template <typename Value>
    [[nodiscard]] Value decode() const;

    /// Same case and equal payloads: numbers as doubles, objects as maps.
    friend bool operator==(const JSONValue& left, const JSONValue& right) noexcept;
    /// Equal values have equal hashes.
    [[nodiscard]] std::size_t hash() const noexcept;

private:
    // Two words, so that a value is made and compared in registers. The highest byte of the second
    // one holds the case in its low three bits. A string sets `blockFlag` when its text lies in a
    // block, and `longFlag` too when that is a std::string; otherwise the four high bits are the
    // length of the text in the bytes before, zeros behind it. A number, a bool, or the address of
    // a block is the first word. Arrays and objects without elements have no block: their address
    // is null.
    static_assert(std::endian::native ==
                  std::endian::little); // so the bytes of a text lie in order
    static constexpr unsigned caseShift = 56;
    static constexpr std::uint64_t caseMask = 0x07;
    static constexpr std::uint64_t blockFlag = std::uint64_t{0x08} << caseShift;
    static constexpr std::uint64_t longFlag = std::uint64_t{0x10} << caseShift;
    static constexpr unsigned lengthShift = caseShift + 4;
    static constexpr std::size_t longestInside = 15;
    /// From this length on a copy costs more than a second piece of memory.
    static constexpr std::size_t longText = 4096;

    /// What does not fit into the value itself: `size` elements, with room for `capacity`, right
    /// behind this header in the same piece of memory.
    template <typename Element>
    struct alignas(8) Block {
        std::size_t size;
        std::size_t capacity;

        [[nodiscard]] Element* elements() noexcept { return reinterpret_cast<Element*>(this + 1); }

        static Block* make(std::size_t capacity);
        static void destroy(Block* block) noexcept;
        static Block* copy(Block* other);
        static Block* grown(Block* block);
    };

    void set(Case value, std::uint64_t payload = 0) noexcept {
        words_ = {payload, std::uint64_t{static_cast<unsigned char>(value)} << caseShift};
    }
    template <typename Element>
    void setBlock(Block<Element>* block) noexcept {
        words_[0] = reinterpret_cast<std::uintptr_t>(block);
    }
    [[nodiscard]] bool ownsBlock() const noexcept {
        return kind() >= Case::array || (words_[1] & blockFlag) != 0;
    }
    static std::array<std::uint64_t, 2> shortText(std::string_view text) noexcept;
    void destroyBlock() noexcept;
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
    [[nodiscard]] bool isLongText() const noexcept {
        return kind() == Case::string &&
               (words_[1] & (blockFlag | longFlag)) == (blockFlag | longFlag);
    }
    [[nodiscard]] std::string* longString() const noexcept {
        return reinterpret_cast<std::string*>(words_[0]);
    }
    [[nodiscard]] std::string_view text() const noexcept {
        if (ownsBlock()) {
            if ((words_[1] & longFlag) != 0) {
                return *longString();
            }
            const auto letters = items<char>();
            return {letters.data(), letters.size()};
        }
        return {reinterpret_cast<const char*>(words_.data()),
                static_cast<std::size_t>(words_[1] >> lengthShift)};
    }

    static std::strong_ordering compareTexts(const JSONValue& left,
                                             const JSONValue& right) noexcept;
    static void insert(Block<JSONMember>& sorted, JSONValue& key, JSONValue& value) noexcept;

    std::array<std::uint64_t, 2> words_{};
};

static_assert(sizeof(JSONValue) == 16);

/// One member of an object. The key is a string.
struct JSONMember {
    JSONValue name;
    JSONValue value;

    [[nodiscard]] std::string_view key() const noexcept {
        return name.stringValue().value_or(std::string_view{});
    }
};

inline std::optional<std::span<const JSONMember>> JSONValue::objectValue() const noexcept {
    return kind() == Case::object ? std::optional{std::span<const JSONMember>{items<JSONMember>()}}
                                  : std::nullopt;
}

/// Mutable behind const, so that a list of members can be moved out of and nothing is copied.
struct JSONValue::NewMember {
    std::string_view key;
    mutable JSONValue value;
};

} // namespace MCPStdio

template <>
struct std::hash<MCPStdio::JSONValue> {
    std::size_t operator()(const MCPStdio::JSONValue& value) const noexcept { return value.hash(); }
};
