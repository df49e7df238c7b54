#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/zones/ICUZones.hpp"
#include "velmiro_mcp/platform/local/zones/SystemZone.hpp"
#include "velmiro_mcp/platform/local/zones/TZString.hpp"
#include "velmiro_mcp/platform/local/zones/VTimeZone.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
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
        const ScopedVariable machine{"TZ", name.c_str()};
        for (int round = 0; round < 3000; ++round) {
            const UTCTime time{seconds{instants(random)}};
            // Before its first change a zone has the local mean time of its place.
            ASSERT_EQ(zone->offsetAt(time), offsetOfLibrary(time))
                << name << " " << time.time_since_epoch().count();
        }
    }
}

TEST(LocalZone, ATimeThatOccursTwiceIsTheFirst) {
    const auto berlin = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(berlin);
    EXPECT_EQ(berlin->instantOf(civil(2026, 10, 25, 2, 30)), utc(2026, 10, 25, 0, 30));
    EXPECT_EQ(berlin->instantOf(civil(2026, 10, 25, 3, 0)), utc(2026, 10, 25, 2, 0));
}

TEST(LocalZone, ASkippedTimeIsAsFarAfterTheGap) {
    const auto berlin = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(berlin);
    EXPECT_EQ(berlin->instantOf(civil(2026, 3, 29, 2, 30)), utc(2026, 3, 29, 1, 30));
    EXPECT_EQ(berlin->civil(utc(2026, 3, 29, 1, 30)), civil(2026, 3, 29, 3, 30));
}

TEST(LocalZone, OfTwoChangesAtOneMomentTheLastCounts) {
    std::vector<Zone::Change> changes;
    for (int hour = 0; hour < 40; ++hour) {
        changes.push_back({utc(2026, 1, 1), hours{hour}});
        changes.push_back({utc(2025, 1, 1), hours{-hour}});
    }
    const Zone zone{seconds{0}, changes};
    EXPECT_EQ(zone.offsetAt(utc(2026, 2, 1)), hours{39});
    EXPECT_EQ(zone.offsetAt(utc(2025, 2, 1)), hours{-39});
    const Zone continued{zone, {{utc(2026, 1, 1), hours{7}}}};
    EXPECT_EQ(continued.offsetAt(utc(2026, 2, 1)), hours{7});
    EXPECT_EQ(continued.offsetAt(utc(2025, 12, 1)), hours{-39});
}

TEST(LocalZone, OnlyNamesOfZonesAreLookedFor) {
    for (const char* name : {"", "/etc/passwd", "../../../etc/passwd", "Europe", "Europe/Nowhere",
                             "right/Europe/Berlin", "zone.tab", "Europe/Berlin "}) {
        EXPECT_FALSE(systemZone(name, zoneFolder)) << name;
    }
}

TEST(LocalZone, DamagedDataAreNoZone) {
    const std::string whole = readFile(std::string{zoneFolder} + "/Europe/Berlin");
    ASSERT_TRUE(zoneFromTZif(whole));
    EXPECT_FALSE(zoneFromTZif(""));
    EXPECT_FALSE(zoneFromTZif("TZif"));
    EXPECT_FALSE(zoneFromTZif("XXif" + whole.substr(4)));
    EXPECT_FALSE(zoneFromTZif(whole.substr(0, whole.size() / 2)));
    std::mt19937 random{2};
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = whole;
        for (int count = 0; count < 3; ++count) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        if (const auto zone = zoneFromTZif(damaged)) {
            const seconds offset = zone->offsetAt(utc(2026, 1, 1)); // whatever that is
            EXPECT_EQ(zone->civil(utc(2026, 1, 1)), civil(2026, 1, 1) + offset);
        }
    }
}

TEST(LocalZone, TheTZStringForLaterYearsIsRead) {
    const auto at = [](std::string_view text, UTCTime time) {
        return Zone{seconds{0}, changesOfTZString(text, 2020)}.offsetAt(time);
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

TEST(LocalZone, AMalformedTZStringMakesNoChanges) {
    for (const char* text :
         {"", "CET", "CET-1CEST", "CET-1CEST,M13.5.0,M10.5.0", "CET-1CEST,M3.5.0",
          "CET-1CEST,M3.5.0,M10.5.0,", "<CET-1", "CET-999"}) {
        EXPECT_TRUE(changesOfTZString(text, 2020).empty()) << text;
    }
}

class LocalZoneNames : public testing::Test {
protected:
    /// Returns when it is 12:00 on 1 July 2026 in that zone, as a time in UTC; 12:00 would be the
    /// user's zone.
    std::string noonIn(const std::string& name, const std::string& before = "") {
        const ScopedVariable zone{"TZ", "UTC"};
        const auto texts =
            listedFrom(eventFile("DTSTART;TZID=" + name + ":20260701T120000\r\n", before),
                       "2026-06-30", "2026-07-03");
        return texts.empty() ? "" : texts.front().substr(11, 5);
    }
};

TEST_F(LocalZoneNames, NamesOfTheSystemAreKnownAlsoAfterAPrefix) {
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
    const ScopedVariable folder{"TZDIR", empty.path().c_str()};
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

std::string vtimezone(const std::string& name, const std::string& more) {
    return "BEGIN:VTIMEZONE\r\nTZID:" + name +
           "\r\nBEGIN:STANDARD\r\nDTSTART:16010101T030000\r\nTZOFFSETFROM:+0500\r\n"
           "TZOFFSETTO:+0400\r\nRRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\r\nEND:STANDARD\r\n"
           "BEGIN:DAYLIGHT\r\nDTSTART:16010101T020000\r\nTZOFFSETFROM:+0400\r\n"
           "TZOFFSETTO:+0500\r\n" +
           more + "END:DAYLIGHT\r\nEND:VTIMEZONE\r\n";
}

const std::string endless = "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3\r\n";

TEST_F(LocalZoneNames, AnExactNameOfTheSystemWinsOverTheVTIMEZONE) {
    for (const std::string name : {"Europe/Berlin", "Europe/Belgrade"}) {
        EXPECT_EQ(noonIn(name, vtimezone(name, endless)), "10:00") << name;
    }
    // Newer systems keep the short names of old in a package of their own.
    const bool isZone = std::filesystem::exists(std::string{zoneFolder} + "/CET");
    EXPECT_EQ(noonIn("CET", vtimezone("CET", endless)), isZone ? "10:00" : "07:00");
    EXPECT_EQ(noonIn("US/Eastern", vtimezone("US/Eastern", endless)), "16:00") << "an older name";
    EXPECT_EQ(noonIn("UTC", vtimezone("UTC", endless)), "12:00");
}

TEST_F(LocalZoneNames, AnyOtherNameIsItsVTIMEZONE) {
    for (const std::string name : {"Mine", "/example.org/20260101_1/Europe/Berlin",
                                   "W. Europe Standard Time", "CST", "europe/berlin"}) {
        EXPECT_EQ(noonIn(name, vtimezone(name, endless)), "07:00") << name;
    }
    EXPECT_EQ(noonIn("Mine", vtimezone("Mine", "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3;"
                                               "UNTIL=20200101T000000Z\r\n")),
              "08:00");
    EXPECT_EQ(noonIn("Mine", vtimezone("Mine", "RDATE:20260601T020000,20250601T020000\r\n")),
              "07:00");
}

TEST_F(LocalZoneNames, AnOlderNameIsKnownWhereItsFileIsMissing) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "America");
    writeFile(folder / "America/New_York", readFile(std::string{zoneFolder} + "/America/New_York"));
    const ScopedVariable variable{"TZDIR", folder.path().c_str()};
    EXPECT_EQ(noonIn("US/Eastern", vtimezone("US/Eastern", endless)), "16:00");
}

TEST_F(LocalZoneNames, ANameMayBeEscapedOrQuotedInEitherPlace) {
    const std::string name = "(UTC+02:00) Athens, Bucharest, Istanbul";
    const std::string escaped = "(UTC+02:00) Athens\\, Bucharest\\, Istanbul";
    for (const std::string& property : {name, escaped, "\"" + name + "\"", " " + name + " "}) {
        for (const std::string& parameter :
             {"\"" + name + "\"", name, escaped, "\"" + escaped + "\""}) {
            EXPECT_EQ(noonIn(parameter, vtimezone(property, endless)), "07:00")
                << property << " " << parameter;
        }
    }
}

TEST_F(LocalZoneNames, AMovedOccurrenceIsFoundByANameWithEscapes) {
    const ScopedVariable zone{"TZ", "UTC"};
    const std::string name = "\"(UTC+02:00) Athens, Bucharest, Istanbul\"";
    const std::string file =
        eventFile("SUMMARY:series\r\nDTSTART;TZID=" + name +
                      ":20260701T120000\r\nRRULE:FREQ=DAILY;COUNT=2\r\n",
                  vtimezone("(UTC+02:00) Athens\\, Bucharest\\, Istanbul", endless)) +
        "BEGIN:VEVENT\r\nUID:event@example.org\r\nSUMMARY:moved\r\nRECURRENCE-ID;TZID=" + name +
        ":20260702T120000\r\nDTSTART:20260703T120000Z\r\nEND:VEVENT\r\n";
    const auto texts = listedFrom(file, "2026-07-01", "2026-08-01");
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], "2026-07-01T07:00:00Z..2026-07-01T07:00:00Z series");
    EXPECT_EQ(texts[1], "2026-07-03T12:00:00Z..2026-07-03T12:00:00Z moved");
}

/// The rules of one year only, as in some feeds. They do not say what applied before that year.
std::string rulesOf2027(const std::string& name, const std::string& more = "") {
    return "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\n" + more +
           "BEGIN:DAYLIGHT\r\nDTSTART:20270314T020000\r\nTZOFFSETFROM:+0300\r\n"
           "TZOFFSETTO:+0400\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n";
}

TEST_F(LocalZoneNames, BeforeAVTIMEZONEBeginsTheZoneIsTheOneThatItsNameHintsAt) {
    const std::string prefixed = "/example.org/20050126_1/Europe/London";
    EXPECT_EQ(noonIn(prefixed, rulesOf2027(prefixed)), "11:00");
    EXPECT_EQ(noonIn("Tokyo Standard Time", rulesOf2027("Tokyo Standard Time")), "03:00");
    EXPECT_EQ(noonIn("Mine", rulesOf2027("Mine", "X-LIC-LOCATION:America/New_York\r\n")), "16:00");
    EXPECT_EQ(noonIn("tzone://Example/Utc", rulesOf2027("tzone://Example/Utc")), "12:00");
}

TEST_F(LocalZoneNames, WithoutAHintTheZoneBeforeIsTheTZOFFSETFROM) {
    EXPECT_EQ(noonIn("Mine", rulesOf2027("Mine")), "09:00");
}

TEST_F(LocalZoneNames, TheExampleOfTheFormatItselfIsRight) {
    const ScopedVariable zone{"TZ", "UTC"};
    const std::string vtimezone =
        "BEGIN:VTIMEZONE\r\nTZID:America/New_York\r\n"
        "BEGIN:STANDARD\r\nDTSTART:19981025T020000\r\nTZOFFSETFROM:-0400\r\n"
        "TZOFFSETTO:-0500\r\nTZNAME:EST\r\nEND:STANDARD\r\n"
        "BEGIN:DAYLIGHT\r\nDTSTART:19990404T020000\r\nTZOFFSETFROM:-0500\r\n"
        "TZOFFSETTO:-0400\r\nTZNAME:EDT\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n";
    const auto texts =
        listedFrom(eventFile("DTSTART;TZID=America/New_York:19980312T083000\r\n", vtimezone),
                   "1998-03-12", "1998-03-13");
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].substr(0, 20), "1998-03-12T13:30:00Z");
}

TEST_F(LocalZoneNames, AVTIMEZONEThatRunsOutOfStepsIsNotUsedInPart) {
    const std::string costly = "BEGIN:STANDARD\r\nDTSTART:19700101T000000\r\nTZOFFSETFROM:+0500\r\n"
                               "TZOFFSETTO:+0500\r\nRRULE:FREQ=HOURLY\r\nEND:STANDARD\r\n";
    const auto costlyZone = [&](const std::string& name) {
        return "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\n" + costly + "END:VTIMEZONE\r\n";
    };
    EXPECT_EQ(noonIn("/example.org/Europe/Berlin", costlyZone("/example.org/Europe/Berlin")),
              "10:00");
    EXPECT_EQ(noonIn("Mine", costlyZone("Mine")), "12:00") << "the machine's own";
}

TEST_F(LocalZoneNames, AVTIMEZONEThatCannotBeReadIsNone) {
    const std::string name = "/example.org/Europe/Berlin";
    EXPECT_EQ(noonIn(name, "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\nEND:VTIMEZONE\r\n"), "10:00");
    EXPECT_EQ(noonIn(name, "BEGIN:VTIMEZONE\r\nTZID:" + name +
                               "\r\nBEGIN:STANDARD\r\nDTSTART:20000101T000000\r\n"
                               "TZOFFSETFROM:+9900\r\nTZOFFSETTO:0100\r\nEND:STANDARD\r\n"
                               "END:VTIMEZONE\r\n"),
              "10:00");
}

TEST_F(LocalZoneNames, AVTIMEZONELikeBerlinsIsBerlin) {
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
    const auto zone = readVTimeZone(components.front(), nullptr, budget);
    const auto system = systemZone("Europe/Berlin", zoneFolder);
    ASSERT_TRUE(zone);
    ASSERT_TRUE(system);
    for (UTCTime time = utc(1997, 1, 1); time < utc(2199, 1, 1); time += hours{37}) {
        ASSERT_EQ(zone->offsetAt(time), system->offsetAt(time)) << time.time_since_epoch().count();
    }
}

TEST_F(LocalZoneNames, EachCalendarOfAFileHasItsOwnVTIMEZONEs) {
    const ScopedVariable zone{"TZ", "UTC"};
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
