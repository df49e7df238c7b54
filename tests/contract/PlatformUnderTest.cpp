#include "tests/contract/PlatformUnderTest.hpp"

#include <algorithm>
#include <filesystem>

namespace velmiro::test {
namespace {

std::string pathOf(const std::string& path) {
    return "Library/Application Support/Velmiro/" + path;
}

std::string component(const char* name, const std::string& uid, std::string_view lines) {
    const std::string kind{name};
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//tests//EN\r\nBEGIN:" + kind +
           "\r\nUID:" + uid + "\r\nDTSTAMP:20260901T080000Z\r\n" + std::string{lines} +
           "END:" + kind + "\r\nEND:VCALENDAR\r\n";
}

std::vector<std::string> sorted(std::vector<std::string> texts) {
    std::ranges::sort(texts);
    return texts;
}

} // namespace

void PlatformTest::addEvent(const std::string& calendar, const std::string& uid,
                            std::string_view lines) const {
    folder.write(pathOf("Calendars/" + calendar + "/" + uid + ".ics"),
                 component("VEVENT", uid, lines));
}

void PlatformTest::addReminder(const std::string& list, const std::string& uid,
                               std::string_view lines) const {
    folder.write(pathOf("Reminders/" + list + "/" + uid + ".ics"), component("VTODO", uid, lines));
}

void PlatformTest::addCalendar(const std::string& name) const {
    std::filesystem::create_directories(folder.path() / pathOf(name));
}

void PlatformTest::addContact(const std::string& uid, std::string_view lines) const {
    folder.write(pathOf("Contacts/" + uid + ".vcf"), "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid +
                                                         "\r\n" + std::string{lines} +
                                                         "END:VCARD\r\n");
}

void PlatformTest::addFile(const std::string& path) const {
    folder.write(pathOf(path), "");
}

void PlatformTest::remove(const std::string& path) const {
    std::filesystem::remove_all(folder.path() / pathOf(path));
}

Instant PlatformTest::at(std::string_view date) {
    const auto instant = parseDate(date);
    EXPECT_TRUE(instant) << date;
    return instant.value_or(Instant{});
}

std::vector<std::string> PlatformTest::titles(std::string_view start, std::string_view end,
                                              const Calendar* calendar) const {
    std::vector<std::string> found;
    for (const Event& event : database->events(at(start), at(end), calendar)) {
        found.push_back(event.title.value_or("none"));
    }
    return sorted(std::move(found));
}

std::vector<std::string> PlatformTest::titles(const ReminderQuery& query) const {
    std::vector<std::string> found;
    for (const Reminder& reminder : fetched(query)) {
        found.push_back(reminder.title.value_or("none"));
    }
    return sorted(std::move(found));
}

std::vector<Reminder> PlatformTest::fetched(const ReminderQuery& query) const {
    int answers = 0;
    std::optional<std::vector<Reminder>> reminders;
    database->fetchReminders(query, [&](std::optional<std::vector<Reminder>> found) {
        ++answers;
        reminders = std::move(found);
    });
    EXPECT_EQ(answers, 1);
    EXPECT_TRUE(reminders);
    return std::move(reminders).value_or(std::vector<Reminder>{});
}

Event PlatformTest::onlyEvent(std::string_view start, std::string_view end) const {
    auto found = database->events(at(start), at(end), nullptr);
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? Event{} : std::move(found.front());
}

Calendar PlatformTest::calendar(EntityType type, const std::string& title) const {
    const auto all = database->calendars(type);
    const auto found = std::ranges::find(all, title, &Calendar::title);
    EXPECT_NE(found, all.end()) << title;
    return found == all.end() ? Calendar{} : *found;
}

} // namespace velmiro::test
