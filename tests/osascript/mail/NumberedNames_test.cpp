#include "osascript/mail/NumberedNames.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

using Names = std::vector<std::string>;
using Hash = NumberedNames::Hash;

/// Numbers all names, one after the other.
std::map<std::string, std::uint64_t> numberedInOrder(const Names& names, Hash hash) {
    std::map<std::string, std::uint64_t> numbers;
    std::set<std::uint64_t> taken;
    for (const std::string& name : std::set(names.begin(), names.end())) {
        std::uint64_t number = hash(name);
        while (!taken.insert(number).second) {
            number = number == largestNumber ? 1 : number + 1;
        }
        numbers[name] = number;
    }
    return numbers;
}

std::map<std::string, std::uint64_t> numbered(const Names& names, Hash hash) {
    NumberedNames all{names.size(), hash};
    for (const std::string& name : names) {
        all.add(name);
    }
    std::map<std::string, std::uint64_t> numbers;
    for (const std::string& name : names) {
        numbers[name] = all.number(all.find(name).value());
    }
    return numbers;
}

TEST(NumberedNames, ThatCollideAreToldApartByTheOrderOfNames) {
    const Hash same = [](std::string_view) noexcept { return std::uint64_t{5}; };
    const std::map<std::string, std::uint64_t> expected{{"a", 5}, {"b", 6}, {"c", 7}};
    EXPECT_EQ(numbered({"c", "a", "b"}, same), expected);
    const Hash last = [](std::string_view) noexcept { return largestNumber; };
    const std::map<std::string, std::uint64_t> wrapped{{"x", largestNumber}, {"y", 1}, {"z", 2}};
    EXPECT_EQ(numbered({"y", "z", "x"}, last), wrapped);
}

TEST(NumberedNames, AreNumberedAsIfAllWereNumberedInOrder) {
    // Few numbers, on both sides of the largest, so that runs of taken ones meet and wrap.
    const std::vector<Hash> hashes{
        [](std::string_view name) noexcept { return std::uint64_t{1} + name.size() % 3; },
        [](std::string_view name) noexcept { return 1 + numberOf(name) % 40; },
        [](std::string_view name) noexcept { return 1 + numberOf(name) % 400; },
        [](std::string_view name) noexcept {
            return (largestNumber - 20 + numberOf(name) % 40 - 1) % largestNumber + 1;
        },
        [](std::string_view name) noexcept { return 1 + (numberOf(name) % 16 << 49U); },
        &numberOf,
    };
    std::mt19937 random{1};
    for (int round = 0; round < 300; ++round) {
        const Hash hash = hashes[random() % hashes.size()];
        Names names(1 + random() % 60);
        for (std::string& name : names) {
            name = std::to_string(random() % 200);
        }
        const auto expected = numberedInOrder(names, hash);
        ASSERT_EQ(numbered(names, hash), expected) << "round " << round;

        for (const auto& [name, number] : expected) {
            Names few;
            std::ranges::copy_if(names, std::back_inserter(few), [&](const std::string& one) {
                return mayMatter(hash(one), number);
            });
            ASSERT_EQ(numbered(few, hash)[name], number) << "round " << round;
        }
    }
}

TEST(NumberedNames, MatterAtANumberAndNotFarBelowIt) {
    constexpr std::uint64_t far = std::uint64_t{1} << 40;
    for (const std::uint64_t wanted : {std::uint64_t{1}, far, largestNumber}) {
        EXPECT_TRUE(mayMatter(wanted, wanted));
        EXPECT_FALSE(mayMatter((wanted + far) % largestNumber, wanted));
        EXPECT_FALSE(mayMatter((wanted + largestNumber - far) % largestNumber, wanted));
    }
    EXPECT_TRUE(mayMatter(largestNumber, 1));
    EXPECT_TRUE(mayMatter(far, far + 1'000'000));
    EXPECT_FALSE(mayMatter(2, 1));
    EXPECT_FALSE(mayMatter(1, largestNumber));
}

TEST(NumberedNames, NumbersOfNamesThatDeliveriesGiveAreSpread) {
    std::unordered_set<std::uint64_t> numbers;
    std::size_t names = 0;
    std::uint64_t all = 0;
    const auto add = [&](const std::string& name) {
        const std::uint64_t number = numberOf(name);
        ASSERT_TRUE(number >= 1 && number <= largestNumber) << name;
        numbers.insert(number);
        all |= number;
        ++names;
    };
    for (int i = 0; i < 50'000; ++i) {
        add(std::to_string(1'700'000'000 + i) + ".M" + std::to_string(i) + "P1.host");
        add("1700000000.M" + std::to_string(7 * i + 1) + "P1.host");
        add("1700000000.P" + std::to_string(i) + "Q0.host,S=" + std::to_string(i));
        add("1700000000.M1P1.host" + std::to_string(i));
        add(std::to_string(i));
    }
    EXPECT_EQ(numbers.size(), names);
    EXPECT_EQ(all, largestNumber); // no bit is always zero
}

TEST(NumberedNames, NumbersStayTheSame) {
    // They are kept by agents, so a change of the hash is a change that users see.
    EXPECT_EQ(numberOf(""), 1);
    EXPECT_EQ(numberOf("1700000000.M1P2.host"), 5272193418684551);
    EXPECT_EQ(numberOf("a"), 1094511398531552);
}

} // namespace
} // namespace velmiro::osascript
