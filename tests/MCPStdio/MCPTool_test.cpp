#include "MCPStdio/MCPTool.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace MCPStdio;

TEST(MCPToolResult, JsonIsSortedPrettyAndLeavesSlashesAlone) {
    const auto result = MCPToolResult::json(JSONValue::object({{"b", "x/y"}, {"a", 1}}));
    EXPECT_EQ(result.text, "{\n  \"a\" : 1,\n  \"b\" : \"x/y\"\n}");
    EXPECT_FALSE(result.isError);
}

TEST(MCPToolResult, JsonOfAnUnwritableValueIsAnEmptyObject) {
    EXPECT_EQ(MCPToolResult::json(JSONValue::object({{"a", NAN}})), (MCPToolResult{"{}", false}));
}

TEST(MCPToolResult, AnErrorMayHaveAnEmptyText) {
    EXPECT_EQ(MCPToolResult::error(""), (MCPToolResult{"", true}));
}

TEST(MCPToolResult, ResultsAreEqualWhenTextAndFlagAre) {
    EXPECT_EQ((MCPToolResult{"a", true}), MCPToolResult::error("a"));
    EXPECT_NE((MCPToolResult{"a", false}), (MCPToolResult{"a", true}));
    EXPECT_NE((MCPToolResult{"a", false}), (MCPToolResult{"b", false}));
}

TEST(MCPToolError, IsDescribedByItsMessage) {
    const MCPToolError error{"‘title’ is required"};
    EXPECT_STREQ(error.what(), "‘title’ is required");
    EXPECT_EQ(error.message, "‘title’ is required");
}
