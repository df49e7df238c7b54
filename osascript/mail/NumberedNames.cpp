#include "osascript/mail/NumberedNames.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <unordered_set>

namespace velmiro::osascript {
namespace {

constexpr unsigned numberBits = 53;
constexpr NumberedNames::Index none = std::numeric_limits<NumberedNames::Index>::max();

/// Returns the number that is so many steps away, where 1 follows the largest. At most
/// `largestNumber` steps.
std::uint64_t after(std::uint64_t number, std::uint64_t steps) noexcept {
    return (number - 1 + steps) % largestNumber + 1;
}
std::uint64_t before(std::uint64_t number, std::uint64_t steps) noexcept {
    return after(number, largestNumber - steps);
}

/// Spreads each bit over all higher ones, and back over the lower ones.
std::uint64_t mixed(std::uint64_t word) noexcept {
    word *= 0x9e3779b97f4a7c15U; // 2^64 divided by the golden ratio
    return word ^ word >> 32U;
}

} // namespace

// Eight bytes a step: byte by byte, 20,000 names take as long as reading twenty messages.
std::uint64_t numberOf(std::string_view name) noexcept {
    std::uint64_t hash = mixed(name.size());
    while (!name.empty()) {
        const std::size_t count = std::min(name.size(), sizeof(std::uint64_t));
        std::uint64_t word = 0;
        std::memcpy(&word, name.data(), count);
        static_assert(std::endian::native == std::endian::little);
        hash = mixed(hash ^ word);
        name.remove_prefix(count);
    }
    hash = mixed(hash);
    return std::max<std::uint64_t>(hash >> (64U - numberBits), 1);
}

bool mayMatter(std::uint64_t own, std::uint64_t wanted) noexcept {
    // A name is pushed on by fewer steps than there are names.
    constexpr std::uint64_t mostSteps = std::numeric_limits<NumberedNames::Index>::max();
    const std::uint64_t steps =
        own <= wanted ? wanted - own : wanted + (largestNumber - own); // past the largest
    return steps <= mostSteps;
}

NumberedNames::NumberedNames(std::size_t capacity, Hash hash)
    : hash_{hash},
      shift_{numberBits - static_cast<unsigned>(std::bit_width(capacity))},
      buckets_(bucketOf(largestNumber) + 1, none) {
    names_.reserve(capacity);
}

NumberedNames::Index NumberedNames::add(std::string_view name) {
    const std::uint64_t number = hash_(name);
    if (const auto known = find(name, number)) {
        return *known;
    }
    const auto index = static_cast<Index>(names_.size());
    Index& bucket = buckets_[bucketOf(number)];
    names_.push_back({name, number, bucket});
    bucket = index;
    return index;
}

std::optional<NumberedNames::Index> NumberedNames::find(std::string_view name) const {
    return find(name, hash_(name));
}

std::uint64_t NumberedNames::number(Index name) const {
    const std::uint64_t own = names_[name].number;
    // The names that push it on are below; those that do so on its way, above.
    auto rivals = between(before(own, size()), after(own, size()));
    if (rivals.size() == 1) {
        return own;
    }
    std::ranges::sort(rivals, {}, [&](Index rival) { return names_[rival].text; });
    std::unordered_set<std::uint64_t> taken;
    std::uint64_t number = 0;
    for (const Index rival : rivals) {
        number = names_[rival].number;
        while (!taken.insert(number).second) {
            number = after(number, 1);
        }
        if (rival == name) {
            break;
        }
    }
    return number;
}

std::size_t NumberedNames::bucketOf(std::uint64_t number) const noexcept {
    return number >> shift_;
}

std::optional<NumberedNames::Index> NumberedNames::find(std::string_view name,
                                                        std::uint64_t number) const {
    for (Index at = buckets_[bucketOf(number)]; at != none; at = names_[at].next) {
        if (names_[at].number == number && names_[at].text == name) {
            return at;
        }
    }
    return std::nullopt;
}

/// Returns the names whose own numbers are from `first` to `last`, which may be beyond the largest.
std::vector<NumberedNames::Index> NumberedNames::between(std::uint64_t first,
                                                         std::uint64_t last) const {
    std::vector<Index> found;
    if (first <= last) {
        collect(first, last, found);
    } else {
        collect(first, largestNumber, found);
        collect(1, last, found);
    }
    return found;
}

void NumberedNames::collect(std::uint64_t first, std::uint64_t last,
                            std::vector<Index>& found) const {
    for (std::size_t bucket = bucketOf(first); bucket <= bucketOf(last); ++bucket) {
        for (Index at = buckets_[bucket]; at != none; at = names_[at].next) {
            if (first <= names_[at].number && names_[at].number <= last) {
                found.push_back(at);
            }
        }
    }
}

} // namespace velmiro::osascript
