#include "velmiro_mcp/base/WholeDays.hpp"

#include "support/ScopedVariable.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;

namespace {

std::string text(std::chrono::local_days day) {
    const std::chrono::year_month_day date{day};
    return std::to_string(int{date.year()}) + "-" + std::to_string(unsigned{date.month()}) + "-" +
           std::to_string(unsigned{date.day()});
}

/// Returns the first day and the last second, in this zone.
std::string covered(const char* zone, const char* start, const char* end) {
    const ScopedVariable variable{"TZ", zone};
    const WholeDays days = wholeDays(parseDate(start).value(), parseDate(end).value());
    return text(days.first) + " to " + dateText(lastSecond(days));
}

std::string coveredFor(const char* zone, const char* start, std::chrono::minutes length) {
    const ScopedVariable variable{"TZ", zone};
    const Instant from = parseDate(start).value();
    const WholeDays days = wholeDays(from, from + length);
    return text(days.first) + " to " + dateText(lastSecond(days));
}

constexpr const char* berlin = "Europe/Berlin";
constexpr std::chrono::hours aDay{24};

} // namespace

TEST(WholeDays, EndBeforeAMidnightGivenAsTheEnd) {
    EXPECT_EQ(covered(berlin, "2026-10-14", "2026-10-15"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14", "2026-10-17"),
              "2026-10-14 to 2026-10-16T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-12-31", "2027-01-01"),
              "2026-12-31 to 2026-12-31T23:59:59+01:00");
}

TEST(WholeDays, AreOneForADayOf23HoursAndForOneOf25) {
    EXPECT_EQ(covered(berlin, "2026-03-29", "2026-03-30"),
              "2026-3-29 to 2026-03-29T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-25", "2026-10-26"),
              "2026-10-25 to 2026-10-25T23:59:59+01:00");
    EXPECT_EQ(coveredFor(berlin, "2026-03-29", aDay), "2026-3-29 to 2026-03-29T23:59:59+02:00");
    EXPECT_EQ(coveredFor(berlin, "2026-10-25", aDay), "2026-10-25 to 2026-10-25T23:59:59+01:00");
    EXPECT_EQ(coveredFor(berlin, "2026-10-24", 7 * aDay),
              "2026-10-24 to 2026-10-30T23:59:59+01:00");
}

TEST(WholeDays, AreRoundedToTheNearestNumberAndAtLeastOne) {
    EXPECT_EQ(coveredFor(berlin, "2026-10-14", std::chrono::minutes{1}),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14", "2026-10-15T11:59"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14T09:30", "2026-10-15T21:29"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14T09:00:30", "2026-10-15T21:00:29"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14", "2026-10-15T12:00"),
              "2026-10-14 to 2026-10-15T23:59:59+02:00");
}

TEST(WholeDays, BeginOnTheDayOfTheStartHoweverLateInIt) {
    EXPECT_EQ(covered(berlin, "2026-10-14T23:59", "2026-10-15T00:10"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered(berlin, "2026-10-14T15:00", "2026-10-15T15:00"),
              "2026-10-14 to 2026-10-14T23:59:59+02:00");
    EXPECT_EQ(covered("America/New_York", "2026-10-14T00:00:00Z", "2026-10-15T00:00:00Z"),
              "2026-10-13 to 2026-10-13T23:59:59-04:00");
}

TEST(WholeDays, AreRightEvenIfMidnightOrAWholeDayIsSkipped) {
    EXPECT_EQ(coveredFor("Africa/Cairo", "2026-04-23", aDay),
              "2026-4-23 to 2026-04-23T23:59:59+02:00"); // the next day begins at 01:00
    EXPECT_EQ(coveredFor("Africa/Cairo", "2026-04-24", aDay),
              "2026-4-24 to 2026-04-24T23:59:59+03:00");
    EXPECT_EQ(coveredFor("Pacific/Apia", "2011-12-29", std::chrono::hours{13}),
              "2011-12-29 to 2011-12-29T23:59:59-10:00"); // the next day is the 31st
}
