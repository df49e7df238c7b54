// The open reminders among thousands, as todoman lists them: after some years most of a list is
// completed. todoman keeps what it has read in a database.

#include "bench/data/Dataset.hpp"
#include "bench/data/Items.hpp"

#include <chrono>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

constexpr int perOpenOne = 40; ///< one in that many is open

std::string settingsFor(const Home& home, const std::filesystem::path& folder,
                        const std::filesystem::path& database) {
    const auto settings = home.path() / "todoman.py";
    writeFile(settings, "path = \"" + folder.parent_path().string() + "/*\"\ncache_path = \"" +
                            database.string() +
                            "\"\ndate_format = \"%Y-%m-%d\"\ntime_format = \"%H:%M\"\n");
    return settings;
}

Found readTodoman(const std::string& output) {
    const JSONValue todos = JSONValue::parse(output);
    Found found;
    for (const JSONValue& todo : elementsOf(&todos)) {
        found.insert(textOf(todo["summary"]));
    }
    return found;
}

} // namespace

std::vector<Question> makeReminders(const Home& home, int reminders) {
    const auto folder = home.folder("Reminders/home");
    Words words;
    Found expected;
    constexpr std::chrono::sys_days firstDay{std::chrono::year{2021} / 1 / 1};
    for (int number = 0; number < reminders; ++number) {
        const std::string uid = itemName(number);
        const std::string title = "Reminder " + std::to_string(number);
        const bool isOpen = number % perOpenOne == 0;
        if (isOpen) {
            expected.insert(title);
        }
        const std::string day = basicDate(firstDay + std::chrono::days{number / 5});
        writeFile(folder / (uid + ".ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//velmiro//bench//EN\r\nBEGIN:VTODO"
                  "\r\nUID:" +
                      uid + "\r\nDTSTAMP:20200101T000000Z\r\nSUMMARY:" + title + "\r\nDUE:" + day +
                      "T100000Z\r\nPRIORITY:" + std::to_string(words.below(10)) + "\r\n" +
                      (isOpen ? "STATUS:NEEDS-ACTION\r\n"
                              : "STATUS:COMPLETED\r\nPERCENT-COMPLETE:100\r\nCOMPLETED:" + day +
                                    "T090000Z\r\n") +
                      "DESCRIPTION:" + words.paragraph(15, "\r\n ") +
                      "\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    }
    const auto database = home.path() / "todoman.sqlite3";
    const Rival todoman{
        "todoman",
        {"/usr/bin/todoman", "--config", settingsFor(home, folder, database), "--porcelain",
         "list"},
        readTodoman,
        database,
    };
    return {{"the " + counted(static_cast<int>(expected.size())) + " open ones of " +
                 counted(reminders) + " reminders, one a file",
             "reminders_list", JSONValue::object(),
             [](const JSONValue& payload) { return textsOf(payload, "reminders", "title"); },
             todoman, expected}};
}

} // namespace velmiro::bench
