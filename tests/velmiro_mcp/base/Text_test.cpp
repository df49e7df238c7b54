#include "velmiro_mcp/base/Text.hpp"

#include <gtest/gtest.h>

using namespace velmiro;

TEST(Trim, RemovesEveryKindOfWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trim("  tea  "), "tea");
    EXPECT_EQ(
        trim("\t\n\v\f\r\u0085\u2028\u2029tea time\u00A0\u1680\u2000\u200A\u202F\u205F\u3000"),
        "tea time");
    EXPECT_EQ(trim(" \n "), "");
    EXPECT_EQ(trim(""), "");
    EXPECT_EQ(trim("\u200Btea"), "\u200Btea"); // has no width, but is not a space
}

TEST(TrimSpacesAndTabs, LeavesLineBreaksAlone) {
    EXPECT_EQ(trimSpacesAndTabs(" \t\u00A0x\n "), "x\n");
    EXPECT_EQ(trimSpacesAndTabs("\u2028 x"), "\u2028 x");
}

TEST(SplitAtCommas, LeavesEmptyPiecesOut) {
    EXPECT_EQ(splitAtCommas("a,,b ,"), (std::vector<std::string_view>{"a", "b "}));
    EXPECT_EQ(splitAtCommas(","), std::vector<std::string_view>{});
    EXPECT_EQ(splitAtCommas(""), std::vector<std::string_view>{});
    EXPECT_EQ(splitAtCommas("a,b"), (std::vector<std::string_view>{"a", "b"}));
    EXPECT_EQ(splitAtCommas("one"), (std::vector<std::string_view>{"one"}));
}
