#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

// khal reads the same folders: it reads events as this program wrote them.

namespace velmiro::local {
namespace {

std::string outputOf(const std::string& command) {
    // Searches PATH in a shell, as a user would. NOLINTNEXTLINE
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return {};
    }
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), count);
    }
    pclose(pipe);
    return output;
}

TEST(LocalEventsInKhal, AreReadAsTheyWereWritten) {
    if (!outputOf("khal --version").starts_with("khal")) {
        GTEST_SKIP() << "khal is not installed";
    }
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    TemporaryHome home;
    home.write("Work", "displayname", "Work");
    const auto database = openEventDatabase();
    const Calendar work{"Work", "Work"};
    database->saveEvent(
        {"Zahnärztin, Mitte; \\o/ 👩‍👧 and a title that is long enough to be folded twice "
         "over several lines of the file",
         at("2026-10-14T15:00"), at("2026-10-14T16:30"), false, "Straße 1, Berlin",
         "first\nsecond"},
        work);
    database->saveEvent({"Two days", at("2026-10-24"), at("2026-10-26"), true, {}, {}}, work);
    database->saveEvent({"Night", at("2026-10-24T23:00"), at("2026-10-25T04:00"), false, {}, {}},
                        work);
    writeFile(home.path() + "/khal.conf",
              "[calendars]\n[[work]]\npath = " + home.calendars() +
                  "/Work\n[locale]\nlocal_timezone = Europe/Berlin\n"
                  "default_timezone = Europe/Berlin\ntimeformat = %H:%M\n"
                  "dateformat = %Y-%m-%d\nlongdateformat = %Y-%m-%d\n"
                  "datetimeformat = %Y-%m-%d %H:%M\n"
                  "longdatetimeformat = %Y-%m-%d %H:%M\n"
                  "[sqlite]\npath = " +
                  home.path() + "/khal.db\n");
    const std::string output =
        outputOf("LC_ALL=C.UTF-8 khal -c '" + home.path() +
                 "/khal.conf' list --once --day-format '' --format "
                 "'{start-long}|{end-long}|{title}|{location}|{description}' 2026-10-01 31d");
    EXPECT_NE(
        output.find(
            "2026-10-14 15:00|2026-10-14 16:30|Zahnärztin, Mitte; \\o/ 👩‍👧 and a title "
            "that is long enough to be folded twice over several lines of the file|"
            "Straße 1, Berlin|first\nsecond"),
        std::string::npos)
        << output;
    EXPECT_NE(output.find("2026-10-24|2026-10-25|Two days"), std::string::npos) << output;
    EXPECT_NE(output.find("2026-10-24 23:00|2026-10-25 04:00|Night"), std::string::npos) << output;
}

} // namespace
} // namespace velmiro::local
