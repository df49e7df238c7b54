#include "MCPStdio/Decimal.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace MCPStdio;

TEST(Decimal, TakesTheLongestBeginningThatIsANumber) {
    EXPECT_EQ(readDecimal("12.5,").length, 4U);
    EXPECT_EQ(readDecimal("12.5,").value, 12.5);
    EXPECT_EQ(readDecimal("-1e3]").length, 4U);
    EXPECT_EQ(readDecimal("-1e3]").value, -1000.0);
    EXPECT_EQ(readDecimal("2e+x").length, 1U);
    EXPECT_EQ(readDecimal("x").length, 0U);
    EXPECT_EQ(readDecimal("").length, 0U);
}

TEST(Decimal, TooLargeIsInfiniteAndTooSmallIsZero) {
    EXPECT_TRUE(std::isinf(readDecimal("1e400").value));
    EXPECT_EQ(readDecimal("1e400").length, 5U);
    EXPECT_TRUE(std::isinf(readDecimal("-1e400").value));
    EXPECT_EQ(readDecimal("1e-400").value, 0.0);
    EXPECT_EQ(readDecimal("1e-400").length, 6U);
}
