#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>
#include <unistd.h>

namespace velmiro::local {

std::string TemporaryHome::calendars() const {
    return path() + "/Library/Application Support/Velmiro/Calendars";
}

std::string TemporaryHome::reminders() const {
    return path() + "/Library/Application Support/Velmiro/Reminders";
}

void TemporaryHome::openTheWay() const {
    for (const std::string folder :
         {"", "/Library", "/Library/Application Support", "/Library/Application Support/Velmiro"}) {
        chmod((path() + folder).c_str(), 0755);
    }
}

void TemporaryHome::writeReminder(const std::string& list, const std::string& file,
                                  std::string_view contents) const {
    const std::string folder = reminders() + "/" + list;
    std::filesystem::create_directories(folder);
    writeFile(folder + "/" + file, contents);
}

void TemporaryHome::write(const std::string& calendar, const std::string& file,
                          std::string_view contents) {
    const std::string folder = calendars() + "/" + calendar;
    std::filesystem::create_directories(folder);
    writeFile(folder + "/" + file, contents);
}

Nobody::Nobody() : allowed_{geteuid() != 0 || seteuid(65'534) == 0} {}

Nobody::~Nobody() {
    if (getuid() == 0 && seteuid(0) != 0) {
        ADD_FAILURE() << "still nobody";
    }
}

void writeFile(const std::string& path, std::string_view contents) {
    std::ofstream file{path, std::ios::binary};
    file << contents;
    ASSERT_TRUE(file.good()) << path;
}

std::string readFile(const std::string& path) {
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator{folder}) {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

Instant at(std::string_view date) {
    const auto instant = parseDate(date);
    EXPECT_TRUE(instant) << date;
    return instant.value_or(Instant{});
}

std::string eventFile(std::string_view lines, std::string_view before) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + std::string{before} +
           "BEGIN:VEVENT\r\nUID:event@example.org\r\n" + std::string{lines} +
           "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

std::string reminderFile(std::string_view lines, std::string_view before) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + std::string{before} +
           "BEGIN:VTODO\r\nUID:todo@example.org\r\n" + std::string{lines} +
           "END:VTODO\r\nEND:VCALENDAR\r\n";
}

std::vector<Reminder> fetched(EventDatabase& database, const ReminderQuery& query) {
    std::vector<Reminder> reminders;
    int answers = 0;
    database.fetchReminders(query, [&](std::optional<std::vector<Reminder>> found) {
        ++answers;
        reminders = std::move(found).value_or(std::vector<Reminder>{});
    });
    EXPECT_EQ(answers, 1);
    return reminders;
}

std::vector<std::string> listed(std::string_view start, std::string_view end) {
    const auto database = openEventDatabase();
    auto events = database->events(at(start), at(end), nullptr);
    std::ranges::sort(events, {},
                      [](const Event& event) { return std::tie(event.start, event.title); });
    std::vector<std::string> texts;
    texts.reserve(events.size());
    for (const Event& event : events) {
        texts.push_back(dateText(event.start.value_or(Instant{})) + ".." +
                        dateText(event.end.value_or(Instant{})) + " " +
                        event.title.value_or("(none)"));
    }
    return texts;
}

std::vector<std::string> listedFrom(std::string_view file, std::string_view start,
                                    std::string_view end) {
    TemporaryHome home;
    home.write("Work", "event.ics", file);
    return listed(start, end);
}

} // namespace velmiro::local
