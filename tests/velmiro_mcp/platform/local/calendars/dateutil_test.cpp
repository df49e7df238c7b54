#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "tests/velmiro_mcp/platform/local/recurrence/RuleMaker.hpp"

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>

// Compares whole series, from the lines of a file to instants, with python-dateutil. It is not
// libical, was written independently of it, and uses Python's own reading of the zone data.

namespace velmiro::local {
namespace {

struct Case {
    std::string zone;
    CivilTime start;
    std::string rule;
    std::string exdates;
    std::string rdates;
    CivilTime end;
};

std::string textOf(CivilTime time) {
    return momentText({time, false, nullptr});
}

/// Returns whether BYDAY combines every Monday, say, with the second Friday: dateutil then looks
/// for days that are both.
bool hasDaysOfTwoKinds(const std::string& rule) {
    bool counted = false;
    bool plain = false;
    const auto list = rule.find("BYDAY=");
    std::istringstream days{list == std::string::npos ? "" : rule.substr(list + 6)};
    std::string text;
    std::getline(days, text, ';');
    for (std::istringstream pieces{text}; std::getline(pieces, text, ',');) {
        (text.size() > 2 ? counted : plain) = true;
    }
    return counted && plain;
}

class CaseMaker {
public:
    explicit CaseMaker(unsigned seed) : make_{seed} {}

    Case next() {
        static constexpr std::array zones{
            "Europe/Berlin",       "America/New_York", "UTC",
            "America/Sao_Paulo",   "Asia/Kolkata",     "Africa/Cairo",
            "Australia/Lord_Howe", "Asia/Tehran",      "Europe/London",
            "Pacific/Auckland",    "America/St_Johns", "Asia/Tokyo"};
        Case one;
        one.zone = zones.at(static_cast<std::size_t>(make_.number(0, zones.size() - 1)));
        one.start = std::chrono::local_days{std::chrono::year{make_.number(1995, 2026)} / 1 / 1} +
                    std::chrono::seconds{make_.number(0, 365 * 86'400)};
        do {
            one.rule = make_.rule();
        } while (hasDaysOfTwoKinds(one.rule));
        one.end = one.start + std::chrono::days{comparedDays(one.rule)};
        switch (make_.number(0, 3)) {
        case 0:
            one.rule += ";COUNT=" + std::to_string(make_.number(1, 40));
            break;
        case 1:
            break;
        default:
            one.rule += ";UNTIL=" + textOf(timeNear(one)) + "Z";
        }
        one.exdates = times(one);
        one.rdates = times(one);
        return one;
    }

private:
    /// Returns in how many days a rule has enough occurrences to compare.
    static int comparedDays(const std::string& rule) {
        if (rule.starts_with("FREQ=YEARLY")) {
            return 2000;
        }
        return rule.starts_with("FREQ=MONTHLY") ? 900 : rule.find("LY") < 11 ? 200 : 60;
    }

    /// Returns some time in the range, half of the time at the start's time of day.
    CivilTime timeNear(const Case& one) {
        const auto days = static_cast<int>((one.end - one.start) / std::chrono::days{1});
        return one.start + std::chrono::days{make_.number(0, days)} +
               std::chrono::seconds{make_.perhaps(2) ? 0 : make_.number(0, 86'399)};
    }

    std::string times(const Case& one) {
        std::string list;
        for (int count = make_.perhaps(3) ? make_.number(1, 6) : 0; count > 0; --count) {
            list +=
                (list.empty() ? "" : ",") + textOf(timeNear(one)) + (make_.perhaps(4) ? "Z" : "");
        }
        return list;
    }

    RuleMaker make_;
};

/// Returns EXDATE or RDATE lines, one for each time, in UTC or on the clock of the series.
std::string lines(const std::string& name, const std::string& zone, const std::string& list) {
    std::string text;
    std::istringstream pieces{list};
    for (std::string piece; std::getline(pieces, piece, ',');) {
        text += name + (piece.ends_with('Z') ? "" : ";TZID=" + zone) + ":" + piece + "\r\n";
    }
    return text;
}

std::string ours(const Case& one, ZoneCatalogue& zones) {
    const std::string file = eventFile(
        "DTSTART;TZID=" + one.zone + ":" + textOf(one.start) + "\r\nRRULE:" + one.rule + "\r\n" +
        lines("EXDATE", one.zone, one.exdates) + lines("RDATE", one.zone, one.rdates));
    const CalendarFile read = readCalendarFile(file, "a.ics", zones);
    WorkBudget budget{10'000'000};
    UserClock clock;
    const auto end = zones.named(one.zone, budget)->instantOf(one.end);
    const auto far = std::chrono::sys_days{std::chrono::year{1990} / 1 / 1};
    auto found = occurrences(read.events, {Instant{far}, Instant{end}}, clock, budget);
    std::ranges::sort(found, {}, &Occurrence::start);
    std::string text;
    for (const Occurrence& occurrence : found) {
        const auto time = std::chrono::floor<std::chrono::seconds>(occurrence.start);
        text += (text.empty() ? "" : ",") + textOf(CivilTime{time.time_since_epoch()}) + "Z";
    }
    return text;
}

TEST(DateUtil, FindsTheOccurrencesOfTwoThousandSeriesThatWeFind) {
    const TemporaryFolder folder;
    const std::string questions = folder / "questions";
    const std::string answers = folder / "answers";
    std::vector<Case> cases;
    CaseMaker make{2'026};
    std::ofstream file{questions};
    for (int count = 0; count < 2000; ++count) {
        cases.push_back(make.next());
        const Case& one = cases.back();
        file << one.zone << '\t' << textOf(one.start) << '\t' << one.rule << '\t' << one.exdates
             << '\t' << one.rdates << '\t' << textOf(one.end) << '\n';
    }
    file.close();
    // Debian's own Python: another one earlier in the path may lack dateutil.
    const std::string command =
        "/usr/bin/python3 " SOURCE_FOLDER
        "/tests/velmiro_mcp/platform/local/calendars/dateutil_occurrences.py <'" +
        questions + "' >'" + answers + "'";
    ASSERT_EQ(std::system(command.c_str()), 0); // NOLINT(bugprone-command-processor,cert-env33-c)
    std::ifstream lines{answers};
    ZoneCatalogue zones;
    std::size_t occurrencesSeen = 0;
    for (const Case& one : cases) {
        std::string answer;
        ASSERT_TRUE(std::getline(lines, answer));
        occurrencesSeen += answer.size() / 17;
        ASSERT_EQ(ours(one, zones), answer)
            << one.zone << " " << textOf(one.start) << " " << one.rule << "\nEXDATE " << one.exdates
            << "\nRDATE " << one.rdates;
    }
    RecordProperty("occurrences compared", std::to_string(occurrencesSeen));
    EXPECT_GT(occurrencesSeen, 10'000U);
}

} // namespace
} // namespace velmiro::local
