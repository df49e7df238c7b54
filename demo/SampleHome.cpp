#include "demo/SampleHome.hpp"

#include "support/Files.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <vector>

namespace velmiro::demo {

namespace {

namespace fs = std::filesystem;

/// Returns the text of a file, from lines that end with a line feed alone.
std::string withLineEnds(const std::string& plain) {
    std::istringstream lines{plain};
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += line + "\r\n";
    }
    return text;
}

std::string calendarFile(const std::string& items) {
    return withLineEnds("BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//velmiro//demo//EN\n" + items +
                        "END:VCALENDAR\n");
}

std::string reminder(const std::string& identifier, const std::string& lines) {
    return calendarFile("BEGIN:VTODO\nUID:" + identifier + "\nDTSTAMP:20260101T000000Z\n" + lines +
                        "END:VTODO\n");
}

std::string card(const std::string& lines) {
    return withLineEnds("BEGIN:VCARD\nVERSION:3.0\n" + lines + "END:VCARD\n");
}

std::string event(const std::string& identifier, const std::string& lines) {
    return "BEGIN:VEVENT\nUID:" + identifier + "\nDTSTAMP:20260101T000000Z\n" + lines +
           "END:VEVENT\n";
}

} // namespace

std::chrono::sys_days localToday() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return std::chrono::year_month_day{std::chrono::year{local.tm_year + 1900},
                                       std::chrono::month{static_cast<unsigned>(local.tm_mon + 1)},
                                       std::chrono::day{static_cast<unsigned>(local.tm_mday)}};
}

SampleHome::SampleHome(const std::string& samples, std::chrono::sys_days today)
    : today_{today},
      folder_{"/tmp"} {
    fillCalendars();
    fillReminders();
    fillContacts();
    copy(samples);
}

std::map<std::string, std::string> SampleHome::environment() const {
    return {{"HOME", folder_.path().string()},
            {"TZ", "Europe/Berlin"},
            {"LC_ALL", "en_GB.UTF-8"},
            {"VELMIRO_APPROVAL_SOCKET", ""}};
}

fs::path SampleHome::data() const {
    return folder_.path() / "Library/Application Support/Velmiro";
}

std::map<std::string, std::string> SampleHome::files() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator{data()}) {
        if (entry.is_regular_file()) {
            files.emplace(fs::relative(entry.path(), data()).string(),
                          support::readFile(entry.path()));
        }
    }
    return files;
}

std::string SampleHome::day(int daysFromToday) const {
    const std::chrono::year_month_day day{today_ + std::chrono::days{daysFromToday}};
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text.data();
}

/// Returns the same day as 20261014.
std::string SampleHome::icsDay(int daysFromToday) const {
    std::string text = day(daysFromToday);
    std::erase(text, '-');
    return text;
}

std::string SampleHome::berlin(const std::string& property, int daysFromToday,
                               const std::string& time) const {
    return property + ";TZID=Europe/Berlin:" + icsDay(daysFromToday) + 'T' + time + '\n';
}

void SampleHome::write(const std::string& name, const std::string& content) const {
    folder_.write(data() / name, content);
}

void SampleHome::fillCalendars() const {
    write("Calendars/family/displayname", "Family 🏡\n");
    write("Calendars/family/birthday.ics",
          calendarFile(
              event("birthday", "SUMMARY:Grandma’s birthday 🎂\nDTSTART;VALUE=DATE:" + icsDay(2) +
                                    "\nDTEND;VALUE=DATE:" + icsDay(3) + '\n')));
    write("Calendars/family/dinner.ics",
          calendarFile(event("dinner", "SUMMARY:Dinner with Noor and Emil\n" +
                                           berlin("DTSTART", 1, "193000") +
                                           berlin("DTEND", 1, "220000") +
                                           "LOCATION:Trattoria Lucia\\, Lindenstraße 7\n"
                                           "DESCRIPTION:They bring the dog 🐕\\; ask for a table "
                                           "outside 🌳\n")));
    write("Calendars/work/displayname", "Work\n");
    // Weekly since three weeks ago. The second coming occurrence is moved by a day and two hours,
    // the third is cancelled.
    write("Calendars/work/planning.ics",
          calendarFile(event("planning",
                             "SUMMARY:Planning ☕\n" + berlin("DTSTART", -20, "090000") +
                                 berlin("DTEND", -20, "093000") + "RRULE:FREQ=WEEKLY;COUNT=12\n" +
                                 berlin("EXDATE", 15, "090000") + "LOCATION:Room 3\n") +
                       event("planning", "SUMMARY:Planning ☕ (moved)\n" +
                                             berlin("RECURRENCE-ID", 8, "090000") +
                                             berlin("DTSTART", 9, "110000") +
                                             berlin("DTEND", 9, "113000") + "LOCATION:Room 5\n")));
}

void SampleHome::fillReminders() const {
    write("Reminders/home/displayname", "Home\n");
    write("Reminders/home/plants.ics",
          reminder("plants", "SUMMARY:Water the plants 🪴\n" + berlin("DUE", 0, "200000") +
                                 "RRULE:FREQ=WEEKLY\nX-PLANT:fern\n"));
    write("Reminders/home/trip.ics", reminder("trip", "SUMMARY:Renew the passport\nPRIORITY:1\n" +
                                                          berlin("DUE", 30, "120000")));
    write("Reminders/work/displayname", "Work\n");
    write("Reminders/work/slides.ics",
          reminder("slides", "SUMMARY:Send the slides to Tomas\n" + berlin("DUE", 2, "170000")));
    write("Reminders/work/done.ics", reminder("done", "SUMMARY:Book room 3\nSTATUS:COMPLETED\n"));
}

void SampleHome::fillContacts() const {
    write("Contacts/people/anna.vcf",
          card("UID:anna\nN:Berg;Anna;;;\nFN:Anna Berg\nORG:Engine Ltd;Sales\n"
               "item1.EMAIL;TYPE=work:anna@example.org\nEMAIL:berg@example.com\n"
               "TEL;TYPE=cell:+49 170 5550101\n"));
    write("Contacts/people/lucia.vcf",
          card("UID:lucia\nN:;;;;\nFN:Trattoria Lucia\nORG:Trattoria Lucia\nX-ABShowAs:COMPANY\n"
               "TEL:+49 30 5550102\n"));
    write("Contacts/people/zoe.vcf",
          card("UID:zoe\nN:Ünal;Zoë;;;\nFN:Zoë Ünal\nEMAIL:zoe@example.org\n"));
}

/// Copies the notes and messages. Each is an hour older than the one before, by the time of its
/// file and, as a Maildir has it, by the name of a message.
void SampleHome::copy(const std::string& samples) const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator{samples}) {
        if (entry.is_regular_file()) {
            files.push_back(fs::relative(entry.path(), samples));
        }
    }
    std::ranges::sort(files);
    auto written = fs::file_time_type::clock::now();
    std::time_t arrived = std::time(nullptr);
    for (const fs::path& file : files) {
        written -= std::chrono::hours{1};
        arrived -= 3600;
        const bool isMessage = *file.begin() == "Mail";
        const fs::path copied =
            data() / file.parent_path() /
            ((isMessage ? std::to_string(arrived) + '.' : "") + file.filename().string());
        fs::create_directories(copied.parent_path());
        fs::copy_file(fs::path{samples} / file, copied);
        fs::last_write_time(copied, written);
    }
}

} // namespace velmiro::demo
