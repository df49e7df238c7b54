#include "osascript/message/FlowedText.hpp"

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

TEST(FlowedText, LinesThatEndInABlankGoOn) {
    EXPECT_EQ(unflowed("a \nb \nc\nd", false), "a b c\nd");
    EXPECT_EQ(unflowed("a \r\nb\r\n", false), "a b\n");
    EXPECT_EQ(unflowed("a \nb", true), "ab");
    EXPECT_EQ(unflowed("", false), "");
    EXPECT_EQ(unflowed("a ", false), "a ");
    EXPECT_EQ(unflowed("\n\n", false), "\n\n");
}

TEST(FlowedText, StuffingIsRemoved) {
    EXPECT_EQ(unflowed(" From me\n  indented\n >no quote\n", false),
              "From me\n indented\n>no quote\n");
}

TEST(FlowedText, ASignatureDoesNotFlow) {
    EXPECT_EQ(unflowed("a\n-- \nName\n", false), "a\n-- \nName\n");
    EXPECT_EQ(unflowed("Hello \r\nBest, \r\n-- \r\nJohn", false), "Hello Best, \n-- \nJohn");
    EXPECT_EQ(unflowed("a \n-- \nName \nb", true), "a\n-- \nNameb");
    EXPECT_EQ(unflowed("> a \n> -- \n> b", false), "> a \n> -- \n> b");
}

TEST(FlowedText, QuotesOfOneDepthFlowTogether) {
    EXPECT_EQ(unflowed("> a \n> b\n>> c \n> d\n>\n", false), "> a b\n>> c \n> d\n>\n");
    EXPECT_EQ(unflowed(">a \nb", false), "> a \nb");
}

} // namespace
} // namespace velmiro::osascript
