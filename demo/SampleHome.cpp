#include "demo/SampleHome.hpp"

#include "demo/Failure.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <system_error>

namespace velmiro::demo {

namespace {

namespace fs = std::filesystem;

/// 20261014
std::string icsDay(int daysFromToday) {
    std::string day = isoDay(dayFromToday(daysFromToday));
    std::erase(day, '-');
    return day;
}

std::string berlin(const std::string& property, int daysFromToday, const std::string& time) {
    return property + ";TZID=Europe/Berlin:" + icsDay(daysFromToday) + 'T' + time + '\n';
}

/// One event file, from lines with a bare line feed.
std::string eventFile(const std::string& events) {
    std::istringstream lines{"BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//velmiro//demo//EN\n" +
                             events + "END:VCALENDAR\n"};
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += line + "\r\n";
    }
    return text;
}

std::string event(const std::string& identifier, const std::string& lines) {
    return "BEGIN:VEVENT\nUID:" + identifier + "\nDTSTAMP:20260101T000000Z\n" + lines +
           "END:VEVENT\n";
}

} // namespace

std::chrono::year_month_day dayFromToday(int days) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const std::chrono::year_month_day today{
        std::chrono::year{local.tm_year + 1900},
        std::chrono::month{static_cast<unsigned>(local.tm_mon + 1)},
        std::chrono::day{static_cast<unsigned>(local.tm_mday)}};
    return std::chrono::sys_days{today} + std::chrono::days{days};
}

std::string isoDay(std::chrono::year_month_day day) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text.data();
}

SampleHome::SampleHome() {
    // Not below TMPDIR: the path of a socket has 103 bytes at most.
    std::string pattern = "/tmp/velmiro-demo-XXXXXX";
    require(::mkdtemp(pattern.data()) != nullptr, "no temporary home could be made");
    path_ = pattern;
    fill();
}

SampleHome::~SampleHome() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::map<std::string, std::string> SampleHome::environment() const {
    return {{"HOME", path_.string()},
            {"TZ", "Europe/Berlin"},
            {"LC_ALL", "en_GB.UTF-8"},
            {"VELMIRO_ENABLED", "calendar"},
            {"VELMIRO_APPROVAL_SOCKET", ""}};
}

fs::path SampleHome::calendars() const {
    return path_ / "Library/Application Support/Velmiro/Calendars";
}

std::map<std::string, std::string> SampleHome::calendarFiles() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator{calendars()}) {
        if (entry.is_regular_file()) {
            std::ostringstream content;
            content << std::ifstream{entry.path(), std::ios::binary}.rdbuf();
            files.emplace(fs::relative(entry.path(), calendars()).string(), content.str());
        }
    }
    return files;
}

void SampleHome::write(const std::string& name, const std::string& content) const {
    const fs::path file = calendars() / name;
    fs::create_directories(file.parent_path());
    std::ofstream stream{file, std::ios::binary};
    stream << content;
    stream.close();
    require(!stream.fail(), "the sample data could not be written");
}

void SampleHome::fill() const {
    write("family/displayname", "Family 🏡\n");
    write("family/birthday.ics",
          eventFile(event("birthday", "SUMMARY:Grandma’s birthday 🎂\nDTSTART;VALUE=DATE:" +
                                          icsDay(2) + "\nDTEND;VALUE=DATE:" + icsDay(3) + '\n')));
    write("family/dinner.ics",
          eventFile(event("dinner", "SUMMARY:Dinner with Noor and Emil\n" +
                                        berlin("DTSTART", 1, "193000") +
                                        berlin("DTEND", 1, "220000") +
                                        "LOCATION:Trattoria Lucia\\, Lindenstraße 7\n"
                                        "DESCRIPTION:They bring the dog 🐕\\; ask for a table "
                                        "outside 🌳\n")));
    write("work/displayname", "Work\n");
    // Every week since three weeks ago; the second to come is moved by a day and two hours, the
    // third is cancelled.
    write("work/planning.ics",
          eventFile(event("planning", "SUMMARY:Planning ☕\n" + berlin("DTSTART", -20, "090000") +
                                          berlin("DTEND", -20, "093000") +
                                          "RRULE:FREQ=WEEKLY;COUNT=12\n" +
                                          berlin("EXDATE", 15, "090000") + "LOCATION:Room 3\n") +
                    event("planning", "SUMMARY:Planning ☕ (moved)\n" +
                                          berlin("RECURRENCE-ID", 8, "090000") +
                                          berlin("DTSTART", 9, "110000") +
                                          berlin("DTEND", 9, "113000") + "LOCATION:Room 5\n")));
}

} // namespace velmiro::demo
