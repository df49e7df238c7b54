// The events of 31 days among thousands in ten years, as khal lists them. Most are single, some are
// recurring. Each file has its own VTIMEZONE, as programs write it. khal keeps what it has read in
// a database.

#include "bench/data/Dataset.hpp"
#include "bench/data/Items.hpp"

#include <chrono>

namespace velmiro::bench {

using MCPStdio::JSONValue;
using std::chrono::sys_days;

namespace {

constexpr int dayCount = 3'650;
constexpr int weeklyOfHundred = 3; ///< that many in a hundred recur twenty times
constexpr int yearlyOfHundred = 1; ///< that many recur without end
constexpr int weeks = 20;
constexpr sys_days firstDay{std::chrono::year{2021} / 1 / 1};
// The clock does not change in these days: khal counts days by the calendar, the server in hours.
constexpr sys_days listedFrom{std::chrono::year{2026} / 5 / 1};
constexpr std::chrono::days listed{31};

constexpr const char* zone =
    "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nBEGIN:STANDARD\r\nDTSTART:19701025T030000\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\nTZNAME:CET\r\nTZOFFSETFROM:+0200\r\n"
    "TZOFFSETTO:+0100\r\nEND:STANDARD\r\nBEGIN:DAYLIGHT\r\nDTSTART:19700329T020000\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\nTZNAME:CEST\r\nTZOFFSETFROM:+0100\r\n"
    "TZOFFSETTO:+0200\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n";

/// Returns a property with the date and time of an event.
std::string timed(const char* name, sys_days day, std::size_t hour) {
    return std::string{name} + ";TZID=Europe/Berlin:" + basicDate(day) + "T" +
           std::to_string(hour) + "0000\r\n";
}

/// Returns an event as both programs are asked to print it.
std::string shown(const std::string& title, sys_days day, std::size_t hour) {
    return title + " " + isoDate(day) + "T" + std::to_string(hour) + ":00";
}

class Writer {
public:
    explicit Writer(std::filesystem::path folder) : folder_{std::move(folder)} {}

    void addSingle(int number, sys_days day) {
        const std::size_t hour = someHour();
        const std::string title = "Single " + std::to_string(number);
        expect(title, day, hour);
        write(number, title, timed("DTSTART", day, hour) + timed("DTEND", day, hour + 1), zone);
    }

    /// Adds a series with one exception.
    void addWeekly(int number, sys_days day) {
        const std::size_t hour = someHour();
        const std::string title = "Weekly " + std::to_string(number);
        constexpr std::chrono::weeks leftOut{7};
        for (std::chrono::weeks week{0}; week.count() < weeks; ++week) {
            if (week != leftOut) {
                expect(title, day + week, hour);
            }
        }
        write(number, title,
              timed("DTSTART", day, hour) + timed("DTEND", day, hour + 1) +
                  "RRULE:FREQ=WEEKLY;COUNT=" + std::to_string(weeks) + "\r\n" +
                  timed("EXDATE", day + leftOut, hour),
              zone);
    }

    /// Adds a birthday, on a day that every year has.
    void addYearly(int number) {
        using namespace std::chrono;
        const auto born = year{1950 + number % 50} / month{1 + unsigned(number) % 12} /
                          day{1 + unsigned(words_.below(28))};
        const std::string title = "Birthday " + std::to_string(number);
        const sys_days thisYear{year{2026} / born.month() / born.day()};
        if (isListed(thisYear)) {
            expected_.insert(title + " " + isoDate(thisYear));
        }
        write(number, title,
              "DTSTART;VALUE=DATE:" + basicDate(born) + "\r\nDTEND;VALUE=DATE:" +
                  basicDate(sys_days{born} + days{1}) + "\r\nRRULE:FREQ=YEARLY\r\n",
              "");
    }

    [[nodiscard]] Found expected() const { return expected_; }

private:
    std::size_t someHour() { return 10 + words_.below(10); }

    static bool isListed(sys_days day) { return day >= listedFrom && day < listedFrom + listed; }

    void expect(const std::string& title, sys_days day, std::size_t hour) {
        if (isListed(day)) {
            expected_.insert(shown(title, day, hour));
        }
    }

    void write(int number, const std::string& title, const std::string& lines, const char* zones) {
        const std::string uid = itemName(number);
        writeFile(folder_ / (uid + ".ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//velmiro//bench//EN\r\n" +
                      std::string{zones} + "BEGIN:VEVENT\r\nUID:" + uid +
                      "\r\nDTSTAMP:20200101T000000Z\r\nSUMMARY:" + title + "\r\n" + lines +
                      "LOCATION:Lindenstraße 7\\, Berlin\r\nDESCRIPTION:" +
                      words_.paragraph(30, "\r\n ") + "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    }

    std::filesystem::path folder_;
    Words words_;
    Found expected_;
};

std::string settingsFor(const Home& home, const std::filesystem::path& folder,
                        const std::filesystem::path& database) {
    const auto settings = home.path() / "khal.conf";
    writeFile(settings, "[calendars]\n[[work]]\npath = " + folder.string() +
                            "\n[locale]\nlocal_timezone = Europe/Berlin\n"
                            "default_timezone = Europe/Berlin\ntimeformat = %H:%M\n"
                            "dateformat = %Y-%m-%d\nlongdateformat = %Y-%m-%d\n"
                            "datetimeformat = %Y-%m-%dT%H:%M\n"
                            "longdatetimeformat = %Y-%m-%dT%H:%M\n[sqlite]\npath = " +
                            database.string() + "\n");
    return settings;
}

Found readPayload(const JSONValue& payload) {
    Found found;
    for (const JSONValue& event : elementsOf(payload["events"])) {
        const bool allDay = event["all_day"]->boolValue().value_or(false);
        const std::string start = textOf(event["start"]);
        constexpr std::size_t date = 10;
        constexpr std::size_t dateAndTime = 16;
        found.insert(textOf(event["title"]) + " " + start.substr(0, allDay ? date : dateAndTime));
    }
    return found;
}

} // namespace

std::vector<Question> makeCalendar(const Home& home, int events) {
    const auto folder = home.folder("Calendars/work");
    Writer writer{folder};
    const int weekly = events * weeklyOfHundred / 100;
    const int yearly = events * yearlyOfHundred / 100;
    const int single = events - weekly - yearly;
    for (int number = 0; number < events; ++number) {
        if (number < single) {
            writer.addSingle(number, firstDay + std::chrono::days{number * dayCount / single});
        } else if (number < single + weekly) {
            writer.addWeekly(number,
                             firstDay + std::chrono::days{(number - single) * dayCount / weekly});
        } else {
            writer.addYearly(number);
        }
    }
    const auto database = home.path() / "khal.db";
    const Rival khal{
        "khal",
        {"/usr/bin/khal", "-c", settingsFor(home, folder, database), "list", "--day-format", "",
         "--format", "{title} {start-long}", isoDate(listedFrom),
         std::to_string(listed.count()) + "d"},
        [](const std::string& output) { return linesOf(output); },
        database,
    };
    return {{"31 days of " + counted(events) + " events, one a file, " + counted(weekly + yearly) +
                 " of them series",
             "calendar_list_events",
             JSONValue::object({{"start", isoDate(listedFrom)}, {"days", listed.count()}}),
             readPayload, khal, writer.expected()}};
}

} // namespace velmiro::bench
