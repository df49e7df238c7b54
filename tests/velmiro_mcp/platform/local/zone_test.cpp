#include "Support.hpp"

#include "velmiro_mcp/platform/local/ICUZones.hpp"
#include "velmiro_mcp/platform/local/SystemZone.hpp"
#include "velmiro_mcp/platform/local/ZoneCatalogue.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

namespace velmiro::local {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

const char* const zoneFolder = "/usr/share/zoneinfo";

UTCTime utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    return std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} /
                                 std::chrono::day{day}} +
           hours{hour} + minutes{minute};
}

CivilTime civil(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    return CivilTime{utc(year, month, day, hour, minute).time_since_epoch()};
}

seconds offsetOfLibrary(UTCTime time) {
    const std::time_t instant = time.time_since_epoch().count();
    std::tm local{};
    localtime_r(&instant, &local);
    return seconds{local.tm_gmtoff};
}

TEST(LocalZone, HasTheOffsetsThatTheCLibraryHas) {
    std::mt19937 random{1};
    std::uniform_int_distribution<std::int64_t> instants{
        utc(1850, 1, 1).time_since_epoch().count(), utc(2199, 1, 1).time_since_epoch().count()};
    for (const std::string name :
         {"Europe/Berlin", "Africa/Cairo", "Pacific/Apia", "Europe/Dublin", "America/New_York",
          "Asia/Jerusalem", "America/Nuuk", "Australia/Lord_Howe", "Asia/Tehran",
          "Africa/Casablanca", "Asia/Kathmandu", "America/Argentina/Buenos_Aires", "Etc/GMT+5",
          "UTC"}) {
        const auto zone = systemZone(name, zoneFolder);
        ASSERT_TRUE(zone) << name;
        const ZoneGuard machine{name};
        for (int round = 0; round < 3000; ++round) {
            const UTCTime time{seconds{instants(random)}};
            // Before its first change a zone has the local mean time of its place.
            ASSERT_EQ(zone->offsetAt(time), offsetOfLibrary(time))
                << name << " " << time.time_since_epoch().count();
        }
    }
}

TEST(LocalZone, ATimeThatComesTwiceIsTheFirst) {
    const auto berlin = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(berlin);
    EXPECT_EQ(berlin->instantOf(civil(2026, 10, 25, 2, 30)), utc(2026, 10, 25, 0, 30));
    EXPECT_EQ(berlin->instantOf(civil(2026, 10, 25, 3, 0)), utc(2026, 10, 25, 2, 0));
}

TEST(LocalZone, ATimeThatIsSkippedIsAsFarBehindTheGap) {
    const auto berlin = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(berlin);
    EXPECT_EQ(berlin->instantOf(civil(2026, 3, 29, 2, 30)), utc(2026, 3, 29, 1, 30));
    EXPECT_EQ(berlin->civil(utc(2026, 3, 29, 1, 30)), civil(2026, 3, 29, 3, 30));
}

TEST(LocalZone, OnlyNamesOfZonesAreLookedFor) {
    for (const char* name : {"", "/etc/passwd", "../../../etc/passwd", "Europe", "Europe/Nowhere",
                             "right/Europe/Berlin", "zone.tab", "Europe/Berlin "}) {
        EXPECT_FALSE(systemZone(name, zoneFolder)) << name;
    }
}

TEST(LocalZone, DamagedDataAreNoZone) {
    const std::string whole = readFile(std::string{zoneFolder} + "/Europe/Berlin");
    ASSERT_TRUE(zoneFromCompiledData(whole));
    EXPECT_FALSE(zoneFromCompiledData(""));
    EXPECT_FALSE(zoneFromCompiledData("TZif"));
    EXPECT_FALSE(zoneFromCompiledData("XXif" + whole.substr(4)));
    EXPECT_FALSE(zoneFromCompiledData(whole.substr(0, whole.size() / 2)));
    std::mt19937 random{2};
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = whole;
        for (int count = 0; count < 3; ++count) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        if (const auto zone = zoneFromCompiledData(damaged)) {
            const seconds offset = zone->offsetAt(utc(2026, 1, 1)); // whatever it says
            EXPECT_EQ(zone->civil(utc(2026, 1, 1)), civil(2026, 1, 1) + offset);
        }
    }
}

TEST(LocalZone, TheRuleForLaterYearsIsRead) {
    const auto at = [](std::string_view rule, UTCTime time) {
        return Zone{seconds{0}, changesOfRule(rule, 2020)}.offsetAt(time);
    };
    EXPECT_EQ(at("CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 3, 29, 0, 59)), hours{1});
    EXPECT_EQ(at("CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 3, 29, 1, 0)), hours{2});
    EXPECT_EQ(at("CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 10, 25, 1, 0)), hours{1});
    EXPECT_EQ(at("<+0330>-3:30", utc(2026, 7, 1)), minutes{210});
    EXPECT_EQ(at("<-02>2<-01>,M3.5.0/-1,M10.5.0/0", utc(2026, 7, 1)), -hours{1});
    EXPECT_EQ(at("IST-1GMT0,M10.5.0,M3.5.0/1", utc(2026, 1, 1)), hours{0});
    EXPECT_EQ(at("AAA3BBB,J60,300", utc(2024, 3, 1, 5, 0)), -hours{2});
    EXPECT_EQ(at("AAA3BBB,J60,300", utc(2024, 3, 1, 4, 59)), -hours{3});
}

TEST(LocalZone, WhatIsNoRuleMakesNoChanges) {
    for (const char* rule :
         {"", "CET", "CET-1CEST", "CET-1CEST,M13.5.0,M10.5.0", "CET-1CEST,M3.5.0",
          "CET-1CEST,M3.5.0,M10.5.0,", "<CET-1", "CET-999"}) {
        EXPECT_TRUE(changesOfRule(rule, 2020).empty()) << rule;
    }
}

class LocalZoneNames : public testing::Test {
protected:
    /// When 12:00 on 1 July 2026 in that zone is, by the hour in UTC; 12 would be the user's zone.
    std::string noonIn(const std::string& name, const std::string& before = "") {
        const ZoneGuard zone{"UTC"};
        const auto texts =
            listedFrom(eventFile("DTSTART;TZID=" + name + ":20260701T120000\r\n", before),
                       "2026-06-30", "2026-07-03");
        return texts.empty() ? "" : texts.front().substr(11, 5);
    }
};

TEST_F(LocalZoneNames, NamesOfTheSystemAreKnownAlsoBehindAPrefix) {
    EXPECT_EQ(noonIn("Europe/Berlin"), "10:00");
    EXPECT_EQ(noonIn("\"Europe/Berlin\""), "10:00");
    EXPECT_EQ(noonIn("/example.org/20260101_1/Europe/Berlin"), "10:00");
    EXPECT_EQ(noonIn("/example.org/America/Argentina/Buenos_Aires"), "15:00");
    EXPECT_EQ(noonIn("UTC"), "12:00");
}

TEST_F(LocalZoneNames, NamesOfWindowsAreKnown) {
    EXPECT_EQ(noonIn("W. Europe Standard Time"), "10:00");
    EXPECT_EQ(noonIn("\"Tokyo Standard Time\""), "03:00");
}

TEST_F(LocalZoneNames, AnUnknownNameIsTheUsersZone) {
    EXPECT_EQ(noonIn("Nowhere/Town"), "12:00");
    EXPECT_EQ(noonIn(""), "12:00");
}

TEST_F(LocalZoneNames, WithoutZoneFilesNamesAreKnownAllTheSame) {
    const TemporaryFolder empty;
    const EnvironmentGuard folder{"TZDIR", empty.path()};
    EXPECT_EQ(noonIn("Europe/Berlin"), "10:00");
    EXPECT_EQ(noonIn("/example.org/Europe/Berlin"), "10:00");
    EXPECT_EQ(noonIn("W. Europe Standard Time"), "10:00");
    EXPECT_EQ(noonIn("Nowhere/Town"), "12:00");
}

TEST_F(LocalZoneNames, ICUHasTheSameZoneWhereItIsUpToDate) {
    const auto own = systemZone("Europe/Berlin", zoneFolder);
    const auto icu = zoneFromICU("Europe/Berlin");
    ASSERT_TRUE(own);
    ASSERT_TRUE(icu);
    for (UTCTime time = utc(1980, 1, 1); time < utc(2150, 1, 1); time += hours{37}) {
        ASSERT_EQ(own->offsetAt(time), icu->offsetAt(time)) << time.time_since_epoch().count();
    }
}

std::string description(const std::string& name, const std::string& more) {
    return "BEGIN:VTIMEZONE\r\nTZID:" + name +
           "\r\nBEGIN:STANDARD\r\nDTSTART:16010101T030000\r\nTZOFFSETFROM:+0500\r\n"
           "TZOFFSETTO:+0400\r\nRRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\r\nEND:STANDARD\r\n"
           "BEGIN:DAYLIGHT\r\nDTSTART:16010101T020000\r\nTZOFFSETFROM:+0400\r\n"
           "TZOFFSETTO:+0500\r\n" +
           more + "END:DAYLIGHT\r\nEND:VTIMEZONE\r\n";
}

TEST_F(LocalZoneNames, WhatTheFileDescribesGoesBeforeWhatTheSystemKnows) {
    EXPECT_EQ(noonIn("Europe/Berlin",
                     description("Europe/Berlin", "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3\r\n")),
              "07:00");
    EXPECT_EQ(noonIn("Mine", description("Mine", "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3;"
                                                 "UNTIL=20200101T000000Z\r\n")),
              "08:00");
    EXPECT_EQ(noonIn("Mine", description("Mine", "RDATE:20260601T020000,20250601T020000\r\n")),
              "07:00");
}

TEST_F(LocalZoneNames, ADescriptionThatCannotBeReadIsNone) {
    EXPECT_EQ(noonIn("Europe/Berlin", "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nEND:VTIMEZONE\r\n"),
              "10:00");
    EXPECT_EQ(noonIn("Europe/Berlin",
                     "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nBEGIN:STANDARD\r\n"
                     "DTSTART:20000101T000000\r\nTZOFFSETFROM:+9900\r\nTZOFFSETTO:0100\r\n"
                     "END:STANDARD\r\nEND:VTIMEZONE\r\n"),
              "10:00");
}

TEST_F(LocalZoneNames, ADescriptionLikeBerlinsIsBerlin) {
    const std::string text =
        "BEGIN:VTIMEZONE\nTZID:X\n"
        "BEGIN:DAYLIGHT\nDTSTART:19810329T020000\nTZOFFSETFROM:+0100\n"
        "TZOFFSETTO:+0200\nRRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\nEND:DAYLIGHT\n"
        "BEGIN:STANDARD\nDTSTART:19961027T030000\nTZOFFSETFROM:+0200\n"
        "TZOFFSETTO:+0100\nRRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\n"
        "END:STANDARD\nEND:VTIMEZONE\n";
    const auto components = readComponents(text);
    ASSERT_EQ(components.size(), 1U);
    WorkBudget budget{1'000'000};
    const auto described = zoneFromComponent(components.front(), budget);
    const auto system = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(described);
    ASSERT_TRUE(system);
    for (UTCTime time = utc(1997, 1, 1); time < utc(2199, 1, 1); time += hours{37}) {
        ASSERT_EQ(described->offsetAt(time), system->offsetAt(time))
            << time.time_since_epoch().count();
    }
}

TEST_F(LocalZoneNames, EachCalendarOfAFileHasItsOwnDescriptions) {
    const ZoneGuard zone{"UTC"};
    const auto calendar = [](const std::string& offset) {
        return "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:" + offset +
               "\nDTSTART;TZID=X:20260701T120000\nEND:VEVENT\n"
               "BEGIN:VTIMEZONE\nTZID:X\nBEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETFROM:" +
               offset + "\nTZOFFSETTO:" + offset + "\nEND:STANDARD\nEND:VTIMEZONE\nEND:VCALENDAR\n";
    };
    const auto texts =
        listedFrom(calendar("+0100") + calendar("+0300"), "2026-07-01", "2026-07-02");
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0].substr(11, 5), "09:00");
    EXPECT_EQ(texts[1].substr(11, 5), "11:00");
}

} // namespace
} // namespace velmiro::local
