#include "tests/rules/Sources.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

// The changelog names each version as its tag does, with its date.

namespace velmiro::rules {
namespace {

struct Version {
    std::array<unsigned, 3> number{}; ///< major, minor, patch
    std::chrono::year_month_day date;
};

/// Reads a heading such as "1.0 — 2026-11-22"; nullopt if it is anything else.
std::optional<Version> versionOf(const std::string& heading) {
    if (matches(heading, R"(^(\d+\.\d+(\.\d+)? — \d{4}-\d\d-\d\d)$)").empty()) {
        return std::nullopt;
    }
    Version version;
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    auto& [major, minor, patch] = version.number;
    std::sscanf(heading.c_str(), "%u.%u.%u", &major, &minor, &patch);
    std::sscanf(heading.c_str() + heading.rfind(' '), "%d-%u-%u", &year, &month, &day);
    version.date = {std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}};
    return version.date.ok() ? std::optional{version} : std::nullopt;
}

std::vector<std::string> headings() {
    auto found = matches(projectFile("CHANGELOG.md"), "^## (.*)$");
    if (!found.empty() && found.front() == "Unreleased") {
        found.erase(found.begin());
    }
    return found;
}

} // namespace

TEST(Rules, TheChangelogDatesItsVersionsTheLatestFirst) {
    std::vector<Version> versions;
    for (const std::string& heading : headings()) {
        const auto version = versionOf(heading);
        ASSERT_TRUE(version) << heading;
        versions.push_back(*version);
    }
    EXPECT_TRUE(std::ranges::is_sorted(versions, std::ranges::greater{}, &Version::number));
    EXPECT_TRUE(std::ranges::is_sorted(versions, std::ranges::greater{}, &Version::date));
    EXPECT_EQ(std::ranges::adjacent_find(versions, {}, &Version::number), versions.end());
}

TEST(Rules, TheChangelogsLatestVersionIsTheProjects) {
    ASSERT_FALSE(headings().empty());
    const std::string latest = headings().front();
    EXPECT_EQ(matches(projectFile("CMakeLists.txt"), R"(^project\(velmiro_mcp VERSION (\S+))"),
              std::vector{latest.substr(0, latest.find(' '))});
}

} // namespace velmiro::rules
