#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// The largest whole number that JavaScript holds exactly, like all below it.
inline constexpr std::uint64_t largestNumber = (std::uint64_t{1} << 53) - 1;

/// Returns the number that a name gets unless another name has the same: from 1 to `largestNumber`,
/// and always the same for the same name.
std::uint64_t numberOf(std::string_view name) noexcept;

/// Returns whether a name of whose own number this is could get the wanted one, or keep another
/// name from it. Whoever looks for one number may leave out all other names.
bool mayMatter(std::uint64_t own, std::uint64_t wanted) noexcept;

/// Different names with a number for each: the name's own, or if other names have the same, the
/// next free one, in the order of the names. The number after the largest is 1.
///
/// The number of a name is found without numbering all. Of n names, fewer than n can push a name
/// on, so only those whose own numbers are at most n away matter: nearly always none.
class NumberedNames {
public:
    using Index = std::uint32_t;
    using Hash = std::uint64_t (*)(std::string_view name) noexcept;

    /// Takes up to `capacity` names, which have to outlive this object.
    explicit NumberedNames(std::size_t capacity = 0, Hash hash = &numberOf);

    /// Adds a name, and returns its index, which is the count of names before it; for one that is
    /// there already, the index it has.
    Index add(std::string_view name);

    [[nodiscard]] std::size_t size() const noexcept { return names_.size(); }
    [[nodiscard]] std::optional<Index> find(std::string_view name) const;
    [[nodiscard]] std::uint64_t number(Index name) const;

private:
    struct Name {
        std::string_view text;
        std::uint64_t number = 0; ///< its own
        Index next = 0;           ///< in the same bucket
    };

    [[nodiscard]] std::size_t bucketOf(std::uint64_t number) const noexcept;
    [[nodiscard]] std::optional<Index> find(std::string_view name, std::uint64_t number) const;
    [[nodiscard]] std::vector<Index> between(std::uint64_t first, std::uint64_t last) const;
    void collect(std::uint64_t first, std::uint64_t last, std::vector<Index>& found) const;

    Hash hash_;
    unsigned shift_;
    std::vector<Name> names_;
    std::vector<Index> buckets_; ///< each for a range of numbers, in their order
};

} // namespace velmiro::osascript
