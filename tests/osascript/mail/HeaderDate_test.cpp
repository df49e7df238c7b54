#include "osascript/mail/HeaderDate.hpp"

#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

constexpr double second = 1000;
constexpr double day = 86'400 * second;

TEST(HeaderDate, IsReadInAllFormsOfMail) {
    const std::array<std::pair<const char*, double>, 17> dates{{
        {"Mon, 5 Jan 2026 09:15:02 +0100 (CET)", 1767600902},
        {"5 Jan 26 09:15 EST", 1767622500},
        {"Sunday, 06-Nov-94 08:49:37 GMT", 784111777},
        {"Thu, 31 Dec 1998 23:59:60 +0000", 915148799},
        {"Fri,  9 Jan 2026 10:00:00 -0000", 1767952800},
        {"  Fri, 9 Jan 2026 10:00:00", 1767952800},
        {"Fri,9 Jan 2026 10:00:00", 1767952800},
        {"Fri 9 January 2026 10:00:00 PDT", 1767978000},
        {"fri, 9 JAN 2026 1:00:00 pst", 1767949200},
        {"9 Jan 2026 10:00:00 UNKNO", 1767952800},
        {"9 Jan 2026 10:00:00 Unknown", 1767952800},
        {"9 Jan 2026 10:00:00+0100", 1767949200},
        {"9 Jan 2026 10:00:00 +01000", 1767952800},
        {"9 Jan 2026 10:00:00(comment)", 1767952800},
        {"29 Feb 2024 00:00 +0000", 1709164800},
        {"1 Jan 1970 00:00:00 +0000", 0},
        {"1 Jan 49 00:00 -0530", 2493091800},
    }};
    for (const auto& [text, seconds] : dates) {
        EXPECT_EQ(headerDate(text), seconds * second) << text;
    }
}

TEST(HeaderDate, IsNoOtherText) {
    for (const char* const text : {"",
                                   "foo 1",
                                   "30 Feb 2026 10:00 +0000",
                                   "29 Feb 2026 10:00 +0000",
                                   "0 Jan 2026 10:00",
                                   "1 Jan 2026 25:00 +0000",
                                   "1 Jan 2026 24:00",
                                   "1 Jan 2026 10:60",
                                   "1 Jan 2026 10:00:5",
                                   "2026-01-05T08:15:02Z",
                                   "1 Foo 2026 10:00",
                                   "1 Ja 2026 10:00",
                                   "1 Jan 026 10:00",
                                   "1 Jan 02026 10:00",
                                   "1 Jan 2026",
                                   "1 Jan 2026 10",
                                   "1 Jan 2026 10:00.",
                                   "1Jan2026 10:00",
                                   "123 Jan 2026 10:00",
                                   "Mo, 1 Jan 2026 10:00",
                                   "Mon1 Jan 2026 10:00",
                                   "1 Januaryish 2026 10:00",
                                   "1 Jan 2026 10:00:00GMTPLUS"}) {
        EXPECT_EQ(headerDate(text), std::nullopt) << text;
    }
    EXPECT_EQ(headerDate(std::string(1'000'000, ' ') + "1 Jan 2026 10:00"), std::nullopt);
}

TEST(HeaderDate, ReceivedIsTheTopmostOrElseWhenItWasSent) {
    constexpr double now = 1767600000 * second; // 5 Jan 2026 08:00
    constexpr double file = now - 60 * second;
    const std::string past = "4 Jan 2026 08:00 +0000";
    const std::string older = "3 Jan 2026 08:00 +0000";
    const std::string future = "5 Jan 2026 08:01 +0000";
    const auto received = [&](const std::string& header) {
        return (receivedDate(header, file, now) - now) / day;
    };
    EXPECT_EQ(received("Received: by a; " + past + "\nReceived: by b; " + older + "\n"), -1);
    EXPECT_EQ(received("Received: by a (b; c) id;\n\t" + past + "\nDate: " + older), -1);
    EXPECT_EQ(received("Received: " + past + "\n"), -1);
    EXPECT_EQ(received("Received: by a\nReceived: by b; " + past + "\nDate: " + older), -2);
    EXPECT_EQ(received("Received: by a; " + future + "\nDate: " + older), -2);
    EXPECT_EQ(received("Date: " + past + "\nDate: " + older), -1);
    constexpr double sameAsFile = -60.0 / 86'400;
    EXPECT_EQ(received("Received: by a; " + future + "\nDate: " + future), sameAsFile);
    EXPECT_EQ(received("Received: by a; yesterday\nDate: soon\n"), sameAsFile);
    EXPECT_EQ(received("Subject: x\n"), sameAsFile);
    EXPECT_EQ(received("Date: 5 Jan 2026 07:59:30 +0000"), sameAsFile); // not after the file
}

TEST(HeaderDate, ANameTellsTheDeliveryOnlyIfItIsPlausible) {
    constexpr double now = 1767600000 * second;
    EXPECT_EQ(deliveryDate("1767500000.M1P2.host:2,S", now), 1767500000 * second);
    EXPECT_EQ(deliveryDate("1767500000.", now), 1767500000 * second);
    EXPECT_EQ(deliveryDate("631152000.a", now), 631152000 * second);
    EXPECT_EQ(deliveryDate("999999999.a", now), 999999999 * second);
    EXPECT_EQ(deliveryDate("1767686400.a", now), 1767686400 * second); // a day ahead
    for (const char* const name :
         {"1767686401.a", "631151999.a", "100000000.a", "9999999999.a", "1767500000",
          "1767500000_1", "1767500000,a", "17675000001.a", "17675000.a", "a1767500000.b",
          "-767500000.a", "", "1.a", " 767500000.a"}) {
        EXPECT_EQ(deliveryDate(name, now), std::nullopt) << name;
        EXPECT_TRUE(std::isinf(latestByName(name, now)));
    }
    EXPECT_EQ(latestByName("1767500000.a", now), 1767500000 * second + day);
}

} // namespace
} // namespace velmiro::osascript
